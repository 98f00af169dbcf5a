// The exported functions, found by name as a program finds them. Each test is a process of its own.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/visa/Front.h"

namespace {

using test::Library;
using visa::kSuccess;
using Printf = ViStatus (*)(ViSession, const char*, ...);
using SPrintf = ViStatus (*)(ViSession, char*, const char*, ...);
using SScanf = ViStatus (*)(ViSession, const char*, const char*, ...);
using Queryf = ViStatus (*)(ViSession, const char*, const char*, ...);

class Front : public testing::Test {
 protected:
  Library library{FRONT};
  ViSession manager = library.Manager();
  ViSession session = 0;

  void Open(const char* name = "SIM1::INSTR::ZLT") { ASSERT_EQ(library.Open(manager, name, session), kSuccess); }
  void TearDown() override { EXPECT_EQ(library.Call("viClose", manager), kSuccess); }

  template <typename... Arguments>
  std::string Printed(const char* format, Arguments... arguments) {
    std::array<char, 1000> text{};
    const ViStatus status = library.Get<SPrintf>("viSPrintf")(session, text.data(), format, arguments...);
    return status == kSuccess ? text.data() : "status " + std::to_string(status & 0xFFFF);
  }
  template <typename... Arguments>
  ViStatus Scanned(const char* text, const char* format, Arguments... arguments) {
    return library.Get<SScanf>("viSScanf")(session, text, format, arguments...);
  }
};

TEST_F(Front, PrintsWhatTheFormatSays) {
  Open();
  const std::array<ViInt32, 3> integers = {1, -2, 3};
  const std::array<ViInt16, 2> shorts = {-1, 0x0102};
  const std::array<double, 2> reals = {1.5, 2.5};
  const std::array<float, 2> floats = {0.5F, 0.25F};
  const std::pair<std::string, std::string> cases[] = {
      {Printed("%d %5d|%-5d|%05d", 1, 2, 3, 4), "1     2|3    |00004"},
      {Printed("%*d|%.*f", 4, 7, 1, 2.25), "   7|2.2"},
      {Printed("%ld %lld %hd %u %x", ViInt32{-1}, 1LL << 40, 65537, 0xFFFFFFFFU, 255),
       "-1 1099511627776 1 4294967295 ff"},
      {Printed("%,3d", integers.data()), "1,-2,3"},
      {Printed("%,*hd", 2, shorts.data()), "-1,258"},
      {Printed("%,2lf|%.1,2f", reals.data(), floats.data()), "1.500000,2.500000|0.5,0.2"},
      {Printed("%@1d %@2f %@3f", 7, 1.5, 1.5), "7 1.500000 1.500000E+00"},
      {Printed("%@Hd %@Qd %@Bd", 255, 8, 5), "#HFF #Q10 #B101"},
      {Printed("%s|%.2s|%c%%", "abc", "abc", 'x'), "abc|ab|x%"},
      {Printed("%3b", "abc"), "#13abc"},
      {Printed("%,2hb", shorts.data()), std::string("#14\xFF\xFF\x01\x02")},
      {Printed("%2y", "abc"), "ab"},
      {Printed("a\\tb\\n\\101\\\\"), "a\tb\nA\\"},
      {Printed("%"), "status 63"},
      {Printed("%q", 1), "status 63"},
      {Printed("\\q"), "status 63"},
  };
  for (const auto& [printed, expected] : cases) EXPECT_EQ(printed, expected);
}

TEST_F(Front, ScansWhatTheFormatSays) {
  Open();
  ViInt32 integer = 0;
  ViInt16 narrow = 0;
  double real = 0;
  float single = 0;
  std::array<char, 20> text{};
  EXPECT_EQ(Scanned(" 7,8.6E1;1e-3 #HfF", "%d,%hd;%lf %f", &integer, &narrow, &real, &single), kSuccess);
  EXPECT_EQ(integer, 7);
  EXPECT_EQ(narrow, 86);
  EXPECT_EQ(real, 1e-3);
  EXPECT_EQ(single, 255);
  std::array<double, 4> reals{};
  ViUInt32 count = reals.size();
  EXPECT_EQ(Scanned("1, 2,3\n", "%,#lf", &count, reals.data()), kSuccess);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(reals[2], 3);
  EXPECT_EQ(Scanned("1,2,3", "%,2lf,%d", reals.data(), &integer), kSuccess);
  EXPECT_EQ(integer, 3);
  EXPECT_EQ(Scanned("skip 5", "%*s %d", &integer), kSuccess);
  EXPECT_EQ(integer, 5);
  EXPECT_EQ(Scanned("ab cd", "%s %2c", text.data(), text.data() + 10), kSuccess);
  EXPECT_EQ(std::string(text.data()) + text[10] + text[11], "abcd");
  count = 4;
  EXPECT_EQ(Scanned("longer than that", "%#t", &count, text.data()), kSuccess);
  EXPECT_EQ(std::string(text.data()), "lon");
  EXPECT_EQ(Scanned("a line\nand more", "%T%d", text.data(), &integer), visa::kIoError);
  EXPECT_EQ(std::string(text.data()), "a line\n");
  EXPECT_EQ(Scanned("\"quoted\",1", "\"%[^\"]\",%d", text.data(), &integer), kSuccess);
  EXPECT_EQ(std::string(text.data()), "quoted");
  std::array<ViInt16, 4> shorts{};
  count = shorts.size();
  EXPECT_EQ(Scanned("#14\x01\x02\x03\x04", "%#hb", &count, shorts.data()), kSuccess);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(shorts[1], 0x0304);
  EXPECT_EQ(Scanned("#2", "%#b", &count, text.data()), visa::kIoError);
  EXPECT_EQ(Scanned("none", "%d", &integer), visa::kIoError);
  EXPECT_EQ(Scanned("1", "%k", &integer), visa::kInvalidFormat);
}

TEST_F(Front, FormatsMessages) {
  Open();
  double value = 0;
  std::array<char, 100> text{};
  const auto queryf = library.Get<Queryf>("viQueryf");
  EXPECT_EQ(library.Get<Printf>("viPrintf")(session, ":FREQ %lf HZ\n", 1.5e9), kSuccess);
  EXPECT_EQ(queryf(session, ":FREQ?\n", "%lf", &value), kSuccess);
  EXPECT_EQ(value, 1.5e9);
  EXPECT_EQ(queryf(session, ":POW %d;:POW?", "%lf", -7, &value), kSuccess) << "arguments of both formats";
  EXPECT_EQ(value, -7);
  EXPECT_EQ(queryf(session, "*IDN?\n", "%t", text.data()), kSuccess);
  EXPECT_EQ(std::string(text.data()), "Sorvik,ZG-20E,000001\n");
  EXPECT_EQ(queryf(session, "*IDN?\n", "%[^,],", text.data()), kSuccess);
  // The rest of an answer: read on, or dropped.
  EXPECT_EQ(library.Get<Printf>("viScanf")(session, "%[^,]", text.data()), kSuccess);
  EXPECT_EQ(std::string(text.data()), "ZG-20E");
  EXPECT_EQ(library.Call("viFlush", session, ViUInt16{1}), kSuccess);
  EXPECT_EQ(library.Call("viFlush", session, ViUInt16{1 | 4}), visa::kInvalidMask);
  EXPECT_EQ(library.Call("viSetBuf", session, ViUInt16{2}, ViUInt32{8192}), kSuccess);
  EXPECT_EQ(library.Call("viSetAttribute", session, visa::kTimeoutValue, ViAttrState{20}), kSuccess);
  EXPECT_EQ(library.Get<Printf>("viScanf")(session, "%t", text.data()), visa::kTimeout);
}

TEST_F(Front, RefusesWhatAGeneratorHasNot) {
  Open();
  ViUInt8 value = 0;
  ViUInt16 status = 0;
  ViUInt32 type = 0;
  std::array<char, 256> text{};
  EXPECT_EQ(library.Call("viIn8", session, ViUInt16{1}, ViBusAddress{0}, &value), visa::kUnknownOperation);
  EXPECT_EQ(library.Call("viIn8", manager, ViUInt16{1}, ViBusAddress{0}, &value), visa::kInvalidObject);
  EXPECT_EQ(library.Call("viReadSTB", ViSession{12345}, &status), visa::kInvalidObject);
  EXPECT_EQ(library.Call("viAssertTrigger", session, ViUInt16{3}), visa::kInvalidProtocol);
  EXPECT_EQ(library.Call("viGpibControlREN", session, ViUInt16{7}), visa::kInvalidMode);
  EXPECT_EQ(library.Call("viWaitOnEvent", session, ViUInt32{0x3FFF200B}, ViUInt32{0}, &type, &type),
            visa::kInvalidEvent);
  EXPECT_EQ(library.Call("viOpen", manager, "SIM1::INSTR::ZLT", ViUInt32{8}, ViUInt32{0}, &type),
            visa::kInvalidAccessMode);
  EXPECT_EQ(library.Call("viOpen", session, "SIM1::INSTR::ZLT", ViUInt32{0}, ViUInt32{0}, &type), visa::kInvalidObject);
  EXPECT_EQ(library.Write(session, ":LIST:FREQ #15ab"), visa::kRawWriteViolation);
  EXPECT_EQ(library.Write(session, std::string(200000, 'x')), visa::kInvalidLength);
  EXPECT_EQ(library.Call("viStatusDesc", session, visa::kTimeout, text.data()), kSuccess);
  EXPECT_EQ(std::string(text.data()), "Nothing came in time.");
  EXPECT_EQ(library.Call("viStatusDesc", session, ViStatus{77}, text.data()), visa::kWarnUnknownStatus);
  EXPECT_EQ(library.Call("viClose", ViObject{0}), visa::kWarnNullObject);
  EXPECT_EQ(library.Call("viClose", session), kSuccess);
  EXPECT_EQ(library.Call("viClose", session), visa::kInvalidObject);
}

/// Files and variables of a process of its own.
class Aliased : public Front {
 protected:
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zlt_visa_" + std::to_string(getpid()));

  void SetUp() override {
    std::filesystem::create_directories(folder / "scpi-zlt");
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
  }
  void TearDown() override {
    Front::TearDown();
    std::filesystem::remove_all(folder);
  }
  void Write(const char* file, const std::string& text) { std::ofstream(folder / file) << text; }
  void Reread() {
    EXPECT_EQ(library.Call("viClose", manager), kSuccess);
    manager = library.Manager();
  }
  std::string Find(const char* expression) {
    std::array<char, 256> name{};
    ViObject list = 0;
    ViUInt32 count = 0;
    const ViStatus status = library.Call("viFindRsrc", manager, expression, &list, &count, name.data());
    if (status != kSuccess) return "status " + std::to_string(status & 0xFFFF);
    std::string names = name.data();
    while (library.Call("viFindNext", list, name.data()) == kSuccess) names.append(" ").append(name.data());
    return names;
  }
  std::string Parse(const char* name) {
    ViUInt16 type = 0;
    ViUInt16 number = 0;
    std::array<char, 256> type_class{};
    std::array<char, 256> expanded{};
    std::array<char, 256> alias{};
    const ViStatus status =
        library.Call("viParseRsrcEx", manager, name, &type, &number, type_class.data(), expanded.data(), alias.data());
    if (status != kSuccess) return "status " + std::to_string(status & 0xFFFF);
    return std::to_string(type) + " " + std::to_string(number) + " " + type_class.data() + " " + expanded.data() + " " +
           alias.data();
  }
};

TEST_F(Aliased, NamesStandForGenerators) {
  Write("scpi-zlt/aliases", "# ours\n gpib0::19 = SIM2::INSTR::ZLT # the one on the left\n\nsource=SIM3::INSTR::ZLT\n");
  Write("more", "TCPIP::10.0.0.5 = SIM4::pass=5::INSTR::ZLT\nsource = SIM2::INSTR::ZLT\n");
  setenv("ZLT_ALIASES", (folder / "more").c_str(), 1);
  Reread();
  const std::pair<std::string, std::string> cases[] = {
      {Parse("GPIB::19"), "1 0 INSTR SIM2::INSTR::ZLT gpib0::19"},
      {Parse("GPIB0::19::0::INSTR"), "1 0 INSTR SIM2::INSTR::ZLT gpib0::19"},
      {Parse("GPIB1::19::INSTR"), "status 17"},
      {Parse("TCPIP0::10.0.0.5::inst0::INSTR"), "6 0 INSTR SIM4::pass=5::INSTR::ZLT TCPIP::10.0.0.5"},
      {Parse("Source"), "1 0 INSTR SIM2::INSTR::ZLT source"},
      {Parse("SIM7::INSTR::zlt"), "1 0 INSTR SIM7::INSTR::ZLT "},
      {Find("?*"), "gpib0::19 source TCPIP::10.0.0.5"},
      {Find("(GPIB|TCPIP)[0-9]*::?+"), "gpib0::19 TCPIP::10.0.0.5"},
      {Find("s[^x]urce|none"), "source"},
      {Find("?*{VI_ATTR_INTF_TYPE == 6 || VI_ATTR_GPIB_PRIMARY_ADDR >= 0x13}"), "gpib0::19 TCPIP::10.0.0.5"},
      {Find("?*{!(VI_ATTR_INTF_NUM != 0) && VI_ATTR_RSRC_NAME == \"source\"}"), "source"},
      {Find("GPIB?*INTFC"), "status 17"},
      {Find("?*{VI_ATTR_INTF_NUM ="), "status 16"},
      {Find("[a"), "status 16"},
      {Find("(a"), "status 16"},
      {Find("*"), "status 16"},
      {Find("((s|o|(ur)+)*)+c\\e"), "source"},
  };
  for (const auto& [found, expected] : cases) EXPECT_EQ(found, expected);
  Open("GPIB0::19::0::INSTR");
  EXPECT_EQ(library.Ask(session, "*IDN?\n"), "Sorvik,ZG-20E,000002\n");
  // Another spelling is the same session with the instrument; a second one would switch the output off.
  EXPECT_EQ(library.Ask(session, ":OUTP ON;:OUTP?\n"), "ON\n");
  ViSession other = 0;
  ASSERT_EQ(library.Open(manager, "sim2::Instr::zlt", other), kSuccess);
  EXPECT_EQ(library.Ask(other, ":OUTP?\n"), "ON\n");
}

TEST_F(Aliased, MistakesAreSaidOnceAndShowInTheStatus) {
  Write("scpi-zlt/aliases", "good = SIM2::INSTR::ZLT\nbad\n=x\nbad = SIM2::INSTR\ngood = SIM3::INSTR::ZLT\n");
  setenv("ZLT_ALIASES", "/nowhere/aliases", 1);
  testing::internal::CaptureStderr();
  Reread();
  Reread();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 5) << said;
  for (const char* part : {"aliases, line 2: a line has to be NAME = RESOURCE::ZLT", "line 3: there is no name",
                           "line 4: \"SIM2::INSTR\" has to end in ::ZLT", "line 5: \"good\" is named in line 1",
                           "/nowhere/aliases can't be read"}) {
    EXPECT_NE(said.find(part), std::string::npos) << part << " in\n" << said;
  }
  EXPECT_EQ(Parse("good"), "1 0 INSTR SIM2::INSTR::ZLT good");
  EXPECT_EQ(library.Open(manager, "GPIB0::19::INSTR", session), visa::kInvalidSetup);
}

struct Event {
  ViSession session;
  ViObject event;
  int calls;
};

ViStatus Handle(ViSession session, ViUInt32, ViObject event, void* user) {
  auto& seen = *static_cast<Event*>(user);
  seen = {session, event, seen.calls + 1};
  return kSuccess;
}

TEST_F(Aliased, OtherNamesGoToTheNextLibrary) {
  Write("scpi-zlt/aliases", "GPIB0::19::INSTR = SIM2::INSTR::ZLT\n");
  setenv("ZLT_VISA_NEXT", NEXT, 1);
  Reread();
  Open("GPIB0::19::INSTR");
  ViSession other = 0;
  ASSERT_EQ(library.Open(manager, "GPIB0::7::INSTR", other), kSuccess);
  EXPECT_NE(other, session);
  EXPECT_EQ(Find("?*"), "GPIB0::19::INSTR GPIB0::7::INSTR");
  EXPECT_EQ(library.Ask(other, "hello"), "next hello");
  EXPECT_EQ(library.Ask(session, "*IDN?\n"), "Sorvik,ZG-20E,000002\n");
  EXPECT_EQ(library.Get<Printf>("viPrintf")(other, "%d %s", 5, "x"), kSuccess);
  EXPECT_EQ(library.Read(other), "next 5 x");
  ViUInt32 value = 0;
  EXPECT_EQ(library.Call("viGetAttribute", other, visa::kManagerSession, static_cast<void*>(&value)), kSuccess);
  EXPECT_EQ(value, manager);
  ViUInt8 byte = 0;
  EXPECT_EQ(library.Call("viIn8", other, ViUInt16{2}, ViBusAddress{3}, &byte), kSuccess);
  EXPECT_EQ(byte, 5);
  EXPECT_EQ(library.Call("viUnlock", other), visa::kUnknownOperation) << "it has no such function";
  // Events: the program sees its own numbers.
  Event seen{};
  const ViUInt32 service_request = 0x3FFF200B;
  EXPECT_EQ(library.Call("viInstallHandler", other, service_request, &Handle, static_cast<void*>(&seen)), kSuccess);
  EXPECT_EQ(library.Call("viEnableEvent", other, service_request, ViUInt16{2}, ViUInt32{0}), kSuccess);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.session, other);
  EXPECT_EQ(library.Call("viUninstallHandler", other, service_request, &Handle, static_cast<void*>(&seen)), kSuccess);
  ViObject context = 0;
  EXPECT_EQ(library.Call("viWaitOnEvent", other, service_request, ViUInt32{0}, &value, &context), kSuccess);
  EXPECT_NE(context, seen.event);
  EXPECT_EQ(library.Call("viClose", context), kSuccess);
  EXPECT_EQ(library.Open(manager, "GPIB0::8::INSTR", other), visa::kResourceNotFound);
}

TEST_F(Aliased, ANextLibraryThatIsNoneIsSaid) {
  for (const auto& [file, part] :
       {std::pair{"/nowhere.so", "can't be loaded"}, std::pair{FRONT, "names this library itself"},
        std::pair{"libc.so.6", "undefined symbol: viOpen"}}) {
    setenv("ZLT_VISA_NEXT", file, 1);
    Reread();
    testing::internal::CaptureStderr();
    EXPECT_EQ(library.Open(manager, "GPIB0::7::INSTR", session), visa::kResourceNotFound);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(part), std::string::npos) << said;
  }
}

TEST_F(Front, ThreadsShareAGenerator) {
  Open();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      ViSession own = 0;
      EXPECT_EQ(library.Open(manager, "SIM1::INSTR::ZLT", own), kSuccess);
      for (int round = 0; round < 50; ++round) {
        const std::string level = std::to_string(-i - 1);
        EXPECT_EQ(library.Ask(own, ":POW " + level + ";:POW?\n"), level + "\n");
      }
      EXPECT_EQ(library.Call("viClose", own), kSuccess);
    });
  }
  // Waits for an answer that another thread asks for.
  EXPECT_EQ(library.Call("viSetAttribute", session, visa::kTimeoutValue, ViAttrState{visa::kNoTimeout}), kSuccess);
  threads.emplace_back([this] { EXPECT_EQ(library.Read(session), "Sorvik,ZG-20E,000001\n"); });
  EXPECT_EQ(library.Write(session, "*IDN?\n"), kSuccess);
  for (std::thread& thread : threads) thread.join();
  // Closing ends a read that nothing would end.
  std::thread reader([this] { EXPECT_EQ(library.Read(session), "status " + std::to_string(visa::kInvalidObject)); });
  EXPECT_EQ(library.Call("viClose", session), kSuccess);
  reader.join();
}

TEST_F(Front, AForkedChildIsRefused) {
  Open();
  const pid_t child = fork();
  if (child == 0) {
    ViSession own = 0;
    const bool refused = library.Write(session, "*IDN?\n") == visa::kSystemError && library.Manager() == 0 &&
                         library.Open(manager, "SIM1::INSTR::ZLT", own) == visa::kSystemError &&
                         library.Call("viClose", session) == visa::kSystemError;
    _exit(refused ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(library.Ask(session, "*IDN?\n"), "Sorvik,ZG-20E,000001\n");
}

}  // namespace
