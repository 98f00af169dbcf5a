// Files that cannot be read or written, text of any size, and every locale a process may be in.
#include <clocale>
#include <gtest/gtest.h>
#include <locale>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

#include "scpi_zlt/datafiles.h"

#include "tests/unit/datafiles/Files.h"

using namespace datafiles_test;

#if defined(__SANITIZE_ADDRESS__)
/// The C library loses its copy of LOCPATH in each newlocale. Nothing of ours is below that function.
extern "C" ZLT_API const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:argz_add_sep\n";
}
#endif

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kLongLine = std::size_t{32} << 20;
#else
constexpr std::size_t kLongLine = std::size_t{1} << 30;
#endif

void ExpectBadFilesDoNotLoad() {
  Folder folder;
  std::filesystem::create_directory(folder / "directory");
  WriteBytes(folder / "file", "1 2 3\n");
  mkfifo((folder / "pipe").c_str(), 0600);
  struct {
    const char* name;
    std::wstring file;
    int matrix_result;
    int touchstone_result;
  } cases[] = {
      {"directory", (folder / "directory").wstring(), -4, -5},
      {"missing", (folder / "missing").wstring(), -1, -1},
      {"below a file", (folder / "file/below").wstring(), -1, -1},
      {"empty name", L"", -1, -1},
      {"does not convert", L"/tmp/\xD800", -1, -1},
      {"4096 bytes", L"/tmp/" + std::wstring(4091, L'x'), -1, -1},
      {"device without data", L"/dev/null", -4, -5},
      {"pipe", (folder / "pipe").wstring(), -1, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (const bool touchstone : {false, true}) {
      std::thread writer;
      if (c.file.ends_with(L"pipe")) {
        writer = std::thread([&] { WriteBytes(folder / "pipe", "1 2 3\n"); });
      }
      CSimpleMatrix matrix;
      if (touchstone) {
        wchar_t comment[] = L"x";
        int length = 0;
        EXPECT_EQ(LoadTouchstone(c.file.c_str(), &matrix, comment, &length, nullptr), c.touchstone_result);
        EXPECT_EQ(comment[0], L'x');
      } else {
        EXPECT_EQ(LoadCustomMatrixFromFile(&matrix, c.file.c_str(), nullptr, kMatrixPlain, false), c.matrix_result);
      }
      if (writer.joinable()) {
        writer.join();
      }
    }
  }
  CSimpleMatrix matrix;
  const wchar_t* const no_name = nullptr;
  EXPECT_EQ(LoadCustomMatrixFromFile(&matrix, no_name, nullptr, kMatrixPlain, false), -1);
  EXPECT_EQ(LoadTouchstone(no_name, &matrix, nullptr, nullptr, nullptr), -1);
}

void ExpectBadFilesAreNotSaved() {
  Folder folder;
  WriteBytes(folder / "file", "x");
  CSimpleMatrix matrix = MakeMatrix({{1, 2, 3}});
  const std::filesystem::path names[] = {"/dev/full", folder / "file/below.x", folder / "missing/x.y", folder / "."};
  for (const auto& name : names) {
    SCOPED_TRACE(name);
    for (const int flags : {0, 2}) {
      EXPECT_EQ(SaveCustomMatrixToFile(&matrix, name.wstring().c_str(), nullptr, static_cast<EMatrixFlags>(flags)), -1);
    }
    const std::wstring wide = name == "/dev/full" ? L"/dev/./full" : name.wstring();  // a name with a point
    EXPECT_EQ(SaveTouchstone(wide.c_str(), &matrix, nullptr, nullptr, kTouchstoneRi), -1);
    EXPECT_THROW(scpi_zlt::WriteMatrix(name, {3, {1, 2, 3}, ""}), scpi_zlt::DataFileError);
  }
  CSimpleMatrix empty;
  EXPECT_EQ(SaveCustomMatrixToFile(&empty, (folder / "empty").wstring().c_str(), nullptr, kMatrixPlain), -4);
  EXPECT_EQ(std::filesystem::file_size(folder / "empty"), 0u);
}

/// One line of numbers of any length, made as it is read.
class EndlessLine : public std::wstreambuf {
 public:
  explicit EndlessLine(std::size_t size) : m_left(size) {
    while (m_block.size() < 65536) {
      m_block += L"0.000000000000000000012345678901 ";
    }
  }

 protected:
  int_type underflow() override {
    if (m_left < m_block.size()) {
      return traits_type::eof();
    }
    m_left -= m_block.size();
    setg(m_block.data(), m_block.data(), m_block.data() + m_block.size());
    return traits_type::to_int_type(m_block[0]);
  }
  pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override { return 0; }
  pos_type seekpos(pos_type, std::ios_base::openmode) override { return 0; }

 private:
  std::wstring m_block;
  std::size_t m_left;
};

long PeakKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(BadFiles, LongLineIsNotHeld) {
  Folder folder;
  {
    std::ofstream file(folder / "long");
    const std::string block(1 << 20, '7');
    for (int i = 0; i < 24; ++i) {
      file << "1 2." << block.substr(0, block.size() / 32) << " 3e5 ";
      for (int blanks = 0; blanks < 32; ++blanks) {
        file << std::string(32768, ' ');
      }
    }
  }
  const long before = PeakKib();
  EndlessLine line(kLongLine);
  std::wistream stream(&line);
  EXPECT_EQ(LoadCustomMatrixFromFile(nullptr, stream, nullptr, kMatrixPlain, false), 0);
  EXPECT_EQ(LoadCustomMatrixFromFile(nullptr, (folder / "long").wstring().c_str(), nullptr, kMatrixCsv, false), 0);
  EXPECT_LT(PeakKib() - before, 16 * 1024);
  CSimpleMatrix matrix;
  EXPECT_EQ(LoadCustomMatrixFromFile(&matrix, (folder / "long").wstring().c_str(), nullptr, kMatrixCsv, false), 0);
  EXPECT_EQ(matrix.Cols(), 72u);
  EXPECT_EQ(matrix.GetValue(70, 0), 2.7777777777777777);
}

/// The tables of cases once more, and all bytes that are written; without the comments, which the locale decodes.
std::string Everything(const Folder& folder) {
  ExpectMatricesLoad();
  ExpectNetworksLoad();
  ExpectBadFilesDoNotLoad();
  ExpectBadFilesAreNotSaved();
  CSimpleMatrix matrix = MakeMatrix({{1234567.25, -0.5, 1e6}});
  SaveCustomMatrixToFile(&matrix, (folder / "m").wstring().c_str(), nullptr, kMatrixPlain);
  SaveTouchstone((folder / "n.x").wstring().c_str(), &matrix, nullptr, nullptr, kTouchstoneDb);
  const std::string saved = ReadBytes(folder / "n.x");
  const char* const language = std::getenv("LANG");  // the date follows it, whatever the program has set: "12:00:00 PM"
  EXPECT_EQ(saved.find("M\n# Hz") != saved.npos, language != nullptr && std::string(language).starts_with("en"));
  return ReadBytes(folder / "m") + saved.substr(saved.find("# Hz"));
}

/// Builds a locale into the folder, without its collation, which takes the most time and nothing here looks at.
bool BuildLocale(const Folder& folder, const std::string& name) {
  std::string source = "comment_char %\nescape_char /\nLC_COLLATE\ncopy \"POSIX\"\nEND LC_COLLATE\n";
  for (const char* category : {"CTYPE", "NUMERIC", "MONETARY", "TIME", "MESSAGES", "PAPER", "NAME", "ADDRESS",
                               "TELEPHONE", "MEASUREMENT", "IDENTIFICATION"}) {
    source += std::string("LC_") + category + "\ncopy \"" + name + "\"\nEND LC_" + category + "\n";
  }
  WriteBytes(folder / name, source);
  return std::system(("localedef -i " + (folder / name).string() + " -f UTF-8 " +
                      (folder / (name + ".UTF-8")).string() + " 2>/dev/null")
                         .c_str()) == 0;
}

TEST(BadFiles, SameNumbersAndCodesInEveryLocale) {
  Folder folder;
  unsetenv("LC_ALL");
  unsetenv("LANG");
  const std::string expected = Everything(folder);
  for (const char* locale : {"de_DE", "en_US"}) {
    ASSERT_TRUE(BuildLocale(folder, locale)) << "localedef, or the sources of " << locale << ", are missing";
  }
  setenv("LOCPATH", (folder / "").c_str(), 1);
  const std::string german = "de_DE.UTF-8";
  const std::string american = "en_US.UTF-8";
  for (const std::string& language : {std::string("C"), american, german, std::string("xx_XX.UTF-8")}) {
    SCOPED_TRACE(language);
    setenv("LANG", language.c_str(), 1);
    EXPECT_EQ(Everything(folder), expected);
    EXPECT_EQ(std::setlocale(LC_ALL, "") == nullptr, language[0] == 'x');
    EXPECT_EQ(*std::localeconv()->decimal_point, language == german ? ',' : '.');
    EXPECT_EQ(Everything(folder), expected);
    if (language[0] != 'x') {
      const std::locale before = std::locale::global(std::locale(""));
      EXPECT_EQ(Everything(folder), expected);
      std::locale::global(before);
    }
    std::setlocale(LC_ALL, "C");
  }
  // The comment does follow the locale: decoded, and "?" for what has no bytes there.
  setenv("LANG", german.c_str(), 1);
  for (const auto& [bytes, text] : {std::pair<std::string, std::string>("\xC3\xA4\xFF", "<228><255>"),
                                    {"a\xC3", "a<195>"},
                                    {std::string("\xC3\0b", 3), std::string("<195>\0b", 7)}}) {
    WriteBytes(folder / "m", "# " + bytes + "\n1");
    EXPECT_EQ(LoadMatrix(folder / "m", 0), "0 {1} # " + text);
  }
  WriteBytes(folder / "n", "! \xC3\xA4\n1 2 3\n");
  CSimpleMatrix network;
  for (const wchar_t* text : {L"! \u00c3\u00a4", L"! \u00e4"}) {  // the program's locale, classic and German
    wchar_t buffer[8] = {};
    int length = 0;
    EXPECT_EQ(LoadTouchstone((folder / "n").wstring().c_str(), &network, buffer, &length, nullptr), 0);
    EXPECT_EQ(std::wstring(buffer), text);
    std::locale::global(std::locale(text[3] != 0 ? "" : "C"));
  }
  CSimpleMatrix matrix = MakeMatrix({{1}});
  for (const int flags : {0, 2}) {
    setenv("LANG", "C", 1);
    const auto form = static_cast<EMatrixFlags>(flags);
    EXPECT_EQ(SaveCustomMatrixToFile(&matrix, (folder / "m").wstring().c_str(), L"# \u00e4", form), 0);
    EXPECT_EQ(LoadMatrix(folder / "m", flags), "0 {1} # ?");
    setenv("LANG", german.c_str(), 1);
    EXPECT_EQ(SaveCustomMatrixToFile(&matrix, (folder / "m").wstring().c_str(), L"# \u00e4", form), 0);
    EXPECT_EQ(LoadMatrix(folder / "m", flags), "0 {1} # <228>");
  }
  unsetenv("LOCPATH");
  unsetenv("LANG");
}

}  // namespace
