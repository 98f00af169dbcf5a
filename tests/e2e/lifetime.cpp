// Sessions that a program leaves open: at exit, when the library is unloaded, in a forked child.
//
// lifetime WAY LIBRARY: loads the library itself, so that an exit handler of this program, registered before, runs
// after the library's own and can look at what the instruments hold.
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <link.h>
#include <string>
#include <sys/signalfd.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "simulator/control.h"

namespace {

using Clock = std::chrono::steady_clock;

int failures = 0;

void Expect(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "expected: %s\n", what);
  ++failures;
}

std::string Held(const char* question) {
  std::array<char, 256> text{};
  simQuery(question, text.data(), text.size());
  return text.data();
}

/// The loaded library.
struct Library {
  explicit Library(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) {
      std::fprintf(stderr, "%s\n", dlerror());
      std::exit(2);
    }
    open = Find<decltype(&skOpen)>("skOpen");
    close = Find<decltype(&skClose)>("skClose");
    write = Find<decltype(&skWrite)>("skWrite");
    read = Find<decltype(&skRead)>("skRead");
    set_attribute = Find<decltype(&skSetAttribute)>("skSetAttribute");
  }
  template <class Function>
  Function Find(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle, name));
  }
  unsigned long Open(const std::string& instrument) const {
    unsigned long session = 0;
    Expect(open(0, (instrument + "::INSTR::ZLT").c_str(), 0, 20000, &session) == VI_SUCCESS, "the session opens");
    return session;
  }
  long Write(unsigned long session, std::string text) const {
    return write(session, reinterpret_cast<unsigned char*>(text.data()), text.size(), nullptr);
  }
  std::string Read(unsigned long session) const {
    std::array<unsigned char, 100> text{};
    unsigned long count = 0;
    read(session, text.data(), text.size(), &count);
    return {text.begin(), text.begin() + static_cast<long>(count)};
  }

  void* handle;
  decltype(&skOpen) open;
  decltype(&skClose) close;
  decltype(&skWrite) write;
  decltype(&skRead) read;
  decltype(&skSetAttribute) set_attribute;
};

bool IsLoaded() {
  bool found = false;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* out) {
        if (std::strstr(info->dlpi_name, "libscpi_zlt") != nullptr) *static_cast<bool*>(out) = true;
        return 0;
      },
      &found);
  return found;
}

constexpr const char* kMessages = ":FREQ 1GHZ\n:FREQ 2GHZ\n:FREQ 3GHZ\n:OUTP ON\n";

void ExpectMessagesRan(int instruments) {
  for (int i = 1; i <= instruments; ++i) {
    const std::string name = "SIM" + std::to_string(i);
    Expect(Held((name + " P_FREQUENCY").c_str()).starts_with("3000000000"), "the last frequency arrived");
    Expect(Held((name + " P_RF_OUT2").c_str()).starts_with("1"), "the output is on");
    Expect(Held((name + " links").c_str()) == "0", "the link is closed");
  }
}

Clock::time_point exit_start;
std::atomic<long> blocked_read{0};
std::function<void()> look_after_exit;

/// Runs after the exit hook of the library, and ends the process with the outcome.
void LookAfterExit() {
  look_after_exit();
  std::fflush(nullptr);
  _exit(failures == 0 ? 0 : 1);
}

[[noreturn]] void ExitAndLook(std::function<void()> look) {
  look_after_exit = std::move(look);
  exit_start = Clock::now();
  std::exit(1);
}

/// Six sessions with something to run, one of them with a reader that waits for ever.
void Exit(const char* path) {
  static const Library library(path);
  for (int i = 1; i <= 6; ++i) {
    const unsigned long session = library.Open("SIM" + std::to_string(i) + "::latency=50");
    library.Write(session, kMessages);
    if (i > 1) continue;
    library.set_attribute(session, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
    std::thread([session] {
      unsigned char byte = 0;
      blocked_read = library.read(session, &byte, 1, nullptr);
    }).detach();
  }
  ExitAndLook([] {
    ExpectMessagesRan(6);
    Expect(Clock::now() - exit_start < std::chrono::seconds(5), "the sessions are closed side by side");
    Expect(blocked_read == VI_ERROR_INV_OBJECT, "the blocked read has returned");
    Expect(library.close(1) == VI_ERROR_INV_OBJECT, "the exports refuse after the exit hook");
    unsigned long session = 0;
    Expect(library.open(0, "SIM1::INSTR::ZLT", 0, 1000, &session) == VI_ERROR_INV_OBJECT, "nothing opens any more");
  });
}

void ExitWhileOpening(const char* path) {
  static const Library library(path);
  static std::atomic<bool> opened{false};
  std::thread([] {
    unsigned long session = 0;
    opened = library.open(0, "SIM1::silent=0::INSTR::ZLT", 0, 60000, &session) == VI_SUCCESS;
  }).detach();
  while (Held("SIM1 packets") != "1") std::this_thread::yield();
  ExitAndLook([] {
    Expect(Clock::now() - exit_start < std::chrono::seconds(4), "the opening is given up");
    Expect(!opened, "the opening failed");
    Expect(Held("SIM1 links") == "0", "the link is closed");
  });
}

/// The thread that exits has never called: it has to wait for a session that another thread is closing.
void ExitWhileClosing(const char* path) {
  static const Library library(path);
  static std::atomic<unsigned long> session{0};
  std::thread([] {
    const unsigned long opened = library.Open("SIM1::latency=50");
    library.Write(opened, kMessages);
    session = opened;
    library.close(opened);
  }).detach();
  std::thread([] {
    while (session == 0) std::this_thread::yield();
    while (library.Write(session, "\n") == VI_SUCCESS) std::this_thread::yield();
  }).join();
  ExitAndLook([] { ExpectMessagesRan(1); });
}

std::atomic<bool> close_asks_the_loader{false};
std::atomic<unsigned long> last_reader{0};      ///< a session of the provider
std::atomic<unsigned long> exit_in_read_of{0};  ///< 0 is none

/// One of the session's own threads ends the process, as a signal's handler may: that session can't wait for itself and
/// is left; the other one is closed as ever.
void ExitFrom(const char* path, const std::vector<const char*>& messages, const char* await) {
  static const Library library(path);
  const unsigned long other = library.Open("SIM1::latency=50");
  const unsigned long session = library.Open("SIM2");
  for (const char* message : messages) library.Write(session, message);
  if (await != nullptr) simControl(await);
  const unsigned long reader = last_reader;
  library.Write(other, kMessages);
  look_after_exit = [] {
    ExpectMessagesRan(1);
    Expect(Clock::now() - exit_start < std::chrono::seconds(5), "nobody waits for the thread that ends the process");
  };
  exit_in_read_of = reader;
  if (await == nullptr) library.Write(session, ":FREQ 2GHZ\n");
  for (;;) pause();
}

void ExitOnInterpreter(const char* path) {
  ExitFrom(path, {}, nullptr);
}

void ExitOnPoller(const char* path) {
  ExitFrom(path, {":FREQ:MODE SWE\n", ":TRIG:SOUR EXT\n", ":INIT\n"}, "SIM2 await=held");
}

const Library* interrupted_library = nullptr;
unsigned long interrupted_session = 0;

/// Interrupts this thread with `handler` in `milliseconds`.
void InterruptIn(int milliseconds, void (*handler)(int)) {
  signal(SIGALRM, handler);
  itimerval time{};
  time.it_value.tv_usec = milliseconds * 1000;
  setitimer(ITIMER_REAL, &time, nullptr);
}

void ExpectAllIsClosed() {
  Expect(Held("SIM1 P_FREQUENCY").starts_with("3000000000"), "all that was written arrived");
  Expect(Held("SIM1 P_RF_OUT2").starts_with("0"), "the output is off");
  Expect(Held("SIM1 links") == "0", "the link is closed");
  Expect(Clock::now() - exit_start < std::chrono::seconds(9), "nobody waits for the interrupted call");
}

constexpr const char* kSettings = ":FREQ 1GHZ\n:POW -10\n:OUTP ON\n:FREQ 3GHZ\n:OUTP OFF\n";

/// A user's Ctrl-C: the handler ends the process during a read that waits for ever.
void ExitInHandler(const char* path) {
  static const Library library(path);
  const unsigned long session = library.Open("SIM1::latency=100");
  library.set_attribute(session, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
  library.Write(session, kSettings);
  look_after_exit = ExpectAllIsClosed;
  InterruptIn(50, [](int) {
    exit_start = Clock::now();
    std::exit(1);
  });
  library.Read(session);
}

/// The handler makes calls of its own before it ends the process; SIM1 is the session of these.
void CallAndExit(int) {
  exit_start = Clock::now();
  Expect(interrupted_library->Write(interrupted_session, kSettings) == VI_SUCCESS, "a handler may write");
  std::exit(1);
}

void ExitInHandlerOf(const char* path, void (*call)(const Library& library)) {
  static const Library library(path);
  interrupted_library = &library;
  interrupted_session = library.Open("SIM1::latency=50");
  look_after_exit = [] {
    ExpectAllIsClosed();
    Expect(Held("SIM2 links") != "1", "the other link is closed, too");
  };
  call(library);
}

void ExitInHandlerOfRead(const char* path) {
  ExitInHandlerOf(path, [](const Library& library) {
    library.set_attribute(interrupted_session, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
    library.Write(interrupted_session, ":FREQ 1GHZ\n");
    InterruptIn(200, CallAndExit);
    library.Read(interrupted_session);
  });
}

void ExitInHandlerOfOpen(const char* path) {
  ExitInHandlerOf(path, [](const Library& library) {
    InterruptIn(200, CallAndExit);
    unsigned long session = 0;
    library.open(0, "SIM2::silent=0::INSTR::ZLT", 0, 60000, &session);
  });
}

void ExitInHandlerOfClose(const char* path) {
  ExitInHandlerOf(path, [](const Library& library) {
    const unsigned long session = library.Open("SIM2::latency=100");
    library.Write(session, kSettings);
    InterruptIn(200, CallAndExit);
    library.close(session);
  });
}

/// The handler closes the session of the read that it interrupted, and that read then goes on.
void CloseInHandler(const char* path) {
  const Library library(path);
  interrupted_library = &library;
  interrupted_session = library.Open("SIM1::latency=50");
  library.set_attribute(interrupted_session, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
  library.Write(interrupted_session, kSettings);
  exit_start = Clock::now();
  InterruptIn(50, [](int) {
    Expect(interrupted_library->close(interrupted_session) == VI_SUCCESS, "the handler closes the session");
    ExpectAllIsClosed();
  });
  unsigned char byte = 0;
  Expect(library.read(interrupted_session, &byte, 1, nullptr) == VI_ERROR_INV_OBJECT, "the blocked read returns");
  Expect(library.close(interrupted_session) == VI_ERROR_INV_OBJECT, "the session is closed");
}

/// A program that reads its signals from a descriptor is not killed by them on a thread of the library.
void SignalDescriptor(const char* path) {
  const Library library(path);
  const unsigned long session = library.Open("SIM1");
  for (const char* message : {":FREQ:MODE SWE\n", ":INIT\n"}) library.Write(session, message);
  simControl("SIM1 await=run");
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  const int descriptor = signalfd(-1, &signals, 0);
  kill(getpid(), SIGINT);
  signalfd_siginfo info{};
  Expect(read(descriptor, &info, sizeof info) == sizeof info && info.ssi_signo == SIGINT, "the signal is read");
  close(descriptor);
  library.close(session);
}

/// A thread that is cancelled while it opens or closes a session first finishes that.
void Cancel(const char* path) {
  static const Library library(path);
  static std::atomic<unsigned long> session{0};
  static std::atomic<bool> closes{false};
  std::thread opener([] {
    unsigned long opened = 0;
    library.open(0, "SIM1::latency=20::INSTR::ZLT", 0, 20000, &opened);
    session = opened;
    for (;;) pthread_testcancel();
  });
  while (Held("SIM1 packets").size() < 1 || Held("SIM1 packets") == "0") std::this_thread::yield();
  pthread_cancel(opener.native_handle());
  opener.join();
  Expect(session != 0, "the session opened");
  std::thread closer([] {
    closes = true;
    library.close(session);
    for (;;) pthread_testcancel();
  });
  while (!closes) std::this_thread::yield();
  pthread_cancel(closer.native_handle());
  closer.join();
  Expect(Held("SIM1 links") == "0", "the link is closed");
  std::thread reader([] {
    const unsigned long other = session = library.Open("SIM2");
    library.set_attribute(other, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
    library.Write(other, ":FREQ 1GHZ\n");
    library.Read(other);
  });
  while (Held("SIM2 P_FREQUENCY").rfind("1000000000", 0) != 0) std::this_thread::yield();
  pthread_cancel(reader.native_handle());
  reader.join();
  Expect(library.close(session) == VI_SUCCESS, "a cancelled read keeps nobody from closing");
}

void Unload(const char* path) {
  for (int round = 0; round < 2; ++round) {
    const Library library(path);
    const unsigned long session = library.Open("SIM1");
    library.Write(session, ":FREQ?\n");
    Expect(!library.Read(session).empty(), "the session answers");
    library.close(session);
    Expect(dlclose(library.handle) == 0, "dlclose succeeds");
    Expect(dlopen(path, RTLD_NOW | RTLD_NOLOAD) == nullptr && !IsLoaded(), "the library is gone");
  }
}

/// The provider's viClose asks the loader for something, which holds its lock while it unloads (see viClose below).
void UnloadWithSessions(const char* path) {
  const Library library(path);
  close_asks_the_loader = true;
  for (const char* instrument : {"SIM1::latency=50", "SIM2::latency=50"}) {
    library.Write(library.Open(instrument), kMessages);
  }
  Expect(dlclose(library.handle) == 0, "dlclose succeeds");
  ExpectMessagesRan(2);
  Expect(!IsLoaded(), "the library is gone");
}

void Fork(const char* path) {
  static const Library library(path);
  const unsigned long session = library.Open("SIM1");
  const pid_t child = fork();
  if (child == 0) {
    unsigned long other = 0;
    Expect(library.Write(session, ":OUTP ON\n") == VI_ERROR_INV_OBJECT, "no session in a forked child");
    Expect(library.close(session) == VI_ERROR_INV_OBJECT, "nothing to close in a forked child");
    Expect(library.open(0, "SIM2::INSTR::ZLT", 0, 1000, &other) == VI_ERROR_INV_OBJECT, "no opening in a forked child");
    ExitAndLook([] { Expect(Clock::now() - exit_start < std::chrono::seconds(1), "a forked child closes nothing"); });
  }
  int status = -1;
  waitpid(child, &status, 0);
  Expect(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ends well");
  library.Write(session, ":FREQ 2GHZ;:FREQ?\n");
  Expect(library.Read(session) == "2000000000\n", "the parent's session goes on");
  Expect(Held("SIM1 links") == "1", "the parent's link is open");
  library.close(session);
}

}  // namespace

/// Called in place of the provider's, which it calls.
extern "C" __attribute__((visibility("default"))) long viRead(unsigned long session, unsigned char* buffer,
                                                              unsigned long count, void* count_out) {
  static const auto provider = reinterpret_cast<decltype(&viRead)>(dlsym(RTLD_NEXT, "viRead"));
  last_reader = session;
  if (exit_in_read_of == session) {
    exit_in_read_of = 0;
    exit_start = Clock::now();
    std::exit(1);
  }
  return provider(session, buffer, count, count_out);
}

extern "C" __attribute__((visibility("default"))) long viClose(unsigned long session) {
  static const auto provider = reinterpret_cast<decltype(&viClose)>(dlsym(RTLD_NEXT, "viClose"));
  if (close_asks_the_loader) dlclose(dlopen(nullptr, RTLD_NOW));
  return provider(session);
}

int main(int argc, char** argv) {
  const struct {
    const char* name;
    void (*run)(const char* path);
  } ways[] = {{"exit", Exit},
              {"exit_while_opening", ExitWhileOpening},
              {"exit_while_closing", ExitWhileClosing},
              {"exit_on_interpreter", ExitOnInterpreter},
              {"exit_on_poller", ExitOnPoller},
              {"exit_in_handler", ExitInHandler},
              {"exit_in_handler_of_read", ExitInHandlerOfRead},
              {"exit_in_handler_of_open", ExitInHandlerOfOpen},
              {"exit_in_handler_of_close", ExitInHandlerOfClose},
              {"close_in_handler", CloseInHandler},
              {"signal_descriptor", SignalDescriptor},
              {"cancel", Cancel},
              {"unload", Unload},
              {"unload_with_sessions", UnloadWithSessions},
              {"fork", Fork}};
  if (argc != 3) return 2;
  look_after_exit = [] {};
  std::atexit(LookAfterExit);
  for (const auto& way : ways) {
    if (std::strcmp(way.name, argv[1]) != 0) continue;
    way.run(argv[2]);
    return failures == 0 ? 0 : 1;
  }
  return 2;
}
