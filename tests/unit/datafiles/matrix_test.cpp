// Matrix files through the exported functions.
#include "scpi_zlt/matrix.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include "tests/unit/datafiles/Files.h"

using namespace datafiles_test;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::string Enr(const std::string& version, const std::string& data) {
  return "[Filetype ENR]\n[Version " + version + "]\n" + data;
}

}  // namespace

void datafiles_test::ExpectMatricesLoad() {
  struct {
    const char* name;
    int flags;
    std::string text;
    const char* expected;
  } cases[] = {
      {"decimal commas", 0, "1,5 2,5", "0 {1.5,2.5} "},
      {"the same as CSV", 4, "1,5 2,5", "0 {1,5,2,5} "},
      {"integers with comma and blank", 0, "1, 2, 3", "0 {1,2,3} "},
      {"a point and a comma", 0, "1.5, 2", "0 {1.5} "},
      {"thousands", 0, "1,234.5", "0 {1.234,0.5} "},
      {"empty CSV field", 4, "1,,2", "0 {1,2} "},
      {"two decimal commas", 0, "1,,2", "0 {1,0.2} "},
      {"leading comma", 0, ",1,2", "0 {0.1,0.2} "},
      {"semicolon", 4, "1;2", "0 {1} "},
      {"lone CR is a blank", 0, "1 2\r3 4", "0 {1,2,3,4} "},
      {"CR LF and empty lines", 0, "1 2\r\n3 4\r\n\r\n", "0 {1,2}{3,4} "},
      {"line of words", 0, "1 2\nabc\n3 4", "0 {1,2}{3,4} "},
      {"word cuts its line", 0, "1 2 x 9\n3 4", "0 {1,2}{3,4} "},
      {"ragged", 0, "1 2\n3", "-3  "},
      {"comment", 0, "# a\n! b\n[c]\n1 2", "0 {1,2} # a\n! b\n[c]"},
      {"mark", 1, "1 2\n#CRC 77\n3 4", "0 {1,2} #CRC 77"},
      {"mark not asked for", 0, "1 2\n#CRC 77\n3 4", "0 {1,2}{3,4} #CRC 77"},
      {"bare mark, comment after it", 1, "1 2\n#CRC\n# c\n3", "0 {1,2} #CRC\n# c"},
      {"ENR 1.0", 8, Enr("1.0", "2 GHz 15.3\n2000 MHz 15.3\n2000000 kHz 15.3\n2000000000 Hz 15.3\n2000000000 15.3"),
       "0 {2000,15.3}{2000,15.3}{2000,15.3}{2000,15.3}{2000,15.3} "},
      {"ENR 1.1", 8, Enr("1.1", "2000000000 15.3"), "0 {2000,15.3} "},
      {"ENR 1.2", 8, Enr("1.2", "2000 15.3"), "0 {2000,15.3} "},
      {"version before file type", 8, "[Version 1.0]\n[Filetype ENR]\n2 GHz 15.3", "0 {2} "},
      {"unit without blank", 8, Enr("1.0", "! note\n[Serial 7]\n2GHz 15.3"), "0 {2e-06} [Serial 7]"},
      {"two units", 8, Enr("1.0", "2 Hz 15 GHz 3"), "0 {2000,0,0} "},
      {"ENR with comma", 8, Enr("1.0", "10 MHz, 15.3"), "0 {10,15.3} "},
      {"ENR 1.1 with comma", 8, Enr("1.1", "10000000, 15.3"), "0 {10,15.3} "},
      {"ENR and mark", 9, Enr("1.0", "2 GHz 15\n#CRC\n3 GHz 16"), "0 {2000,15} "},
      {"CSV and ENR", 12, Enr("1.0", "2 GHz,15.3,1\n3 GHz,15,2"), "0 {2000,15.3,1}{3000,15,2} "},
      {"header line of 12 characters", 8, "[Filetype ENR]\n[Version 1.0\n2 GHz 15", "0 {2} "},
      {"version inside a line", 8, Enr("1.0", "[a [Version 1.1]\n2 GHz 15"), "0 {2000,15} "},
      {"ENR not asked for", 0, Enr("1.0", "2 15.3"), "0 {2,15.3} [Filetype ENR]\n[Version 1.0]"},
      {"empty", 0, "", "-4  "},
      {"only comments", 0, "# a\n!b\n", "-4  "},
      {"words", 0, "inf nan\nabc", "-4  "},
      {"huge exponents", 0, "1e400 1\n1 1e400 2\n1e-400", "0 {1}{0} "},
      {"binary", 0, std::string("\0\1\2\n1\0002\n\xFF\xFE\n", 11), "0 {1} "},
      {"UTF-8 mark", 0,
       "\xEF\xBB\xBF"
       "1 2",
       "0 {1,2} "},
      {"blank of another encoding", 4, "\xA0 1\n2 \xA0 3\n", "0 {2} "},
      {"bytes of no encoding", 0, "# \xFF\n1 2\xFF 3", "0 {1,2} # <255>"},
      {"no final line end after a comment", 0, "1\n#c", "0 {1} #c"},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    WriteBytes(folder / "m.enr.csv", c.text);
    EXPECT_EQ(LoadMatrix(folder / "m.enr.csv", c.flags), c.expected);

    // The same through a stream of wide characters, one for each byte.
    std::wstring wide;
    for (const char byte : c.text.substr(c.text.starts_with("\xEF\xBB") ? 3 : 0)) {
      wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
    std::wistringstream stream(wide);
    CSimpleMatrix matrix;
    const int result = LoadCustomMatrixFromFile(&matrix, stream, nullptr, static_cast<EMatrixFlags>(c.flags), true);
    const std::string text = std::to_string(result) + " " + Text(matrix) + " ";
    EXPECT_EQ(text, std::string(c.expected).substr(0, text.size()));
  }
}

namespace {

TEST(Matrix, Load) {
  ExpectMatricesLoad();
}

TEST(Matrix, Save) {
  const double third = 1.0 / 3.0;
  struct {
    const char* name;
    int flags;
    std::vector<std::vector<double>> rows;
    const wchar_t* comment;
    const char* expected;
  } cases[] = {
      {"plain", 0, {{1, 2.5}, {1e6, -0.25}}, nullptr, "1\t2.5\n1e+06\t-0.25\n"},
      {"CSV", 4, {{1, 2.5}, {1e6, -0.25}}, L"# c", "# c\n\n1,2.5\n1e+06,-0.25\n"},
      {"comment", 0, {{1}}, L"# hello\n\n#CRC 5\n  ! x ", "# hello\n! x\n\n1\n"},
      {"ENR", 8, {{2000, 15.3}}, L"[Filetype ENR]\n[Version 1.1]", "[Filetype ENR]\r\n[Version 1.1]\r\n2000, 15.3\r\n"},
      {"CSV and ENR", 12, {{2000, 15.3}}, nullptr, "2000,15.3\r\n"},
      {"six digits", 0, {{third, 1234567, 1e-5, 100000, -0.0}}, L"", "0.333333\t1.23457e+06\t1e-05\t100000\t-0\n"},
      {"no numbers", 0, {{1, kNan}, {kInf, 2}}, nullptr, "1\tnan\ninf\t2\n"},
      {"comment without mark", 0, {{1}}, L"no mark 5", "no mark 5\n\n1\n"},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto flags = static_cast<EMatrixFlags>(c.flags);
    const CSimpleMatrix matrix = MakeMatrix(c.rows);
    EXPECT_EQ(SaveCustomMatrixToFile(&matrix, (folder / "m").wstring().c_str(), c.comment, flags), 0);
    EXPECT_EQ(ReadBytes(folder / "m"), c.expected);
    std::wostringstream stream;
    EXPECT_EQ(SaveCustomMatrixToFile(&matrix, stream, c.comment, flags), 0);
    const std::wstring wide = stream.str();
    EXPECT_EQ(std::string(wide.begin(), wide.end()), c.expected);
  }
  CSimpleMatrix matrix = MakeMatrix({{1}});
  std::wostream failed(nullptr);
  EXPECT_EQ(SaveCustomMatrixToFile(&matrix, failed, nullptr, kMatrixPlain), -1);
  matrix.SetSize(2, 0);
  EXPECT_EQ(SaveCustomMatrixToFile(&matrix, failed, nullptr, kMatrixPlain), -4);
  WriteBytes(folder / "nan", "1\tnan\ninf\t2\n");
  EXPECT_EQ(LoadMatrix(folder / "nan", 0), "0 {1} ");
}

TEST(Matrix, SaveLoadSaveGivesTheSameBytes) {
  std::mt19937_64 random(3);
  std::normal_distribution<double> values(0.0, 1e3);
  Folder folder;
  const std::wstring name = (folder / "m").wstring();
  for (const int flags : {0, 1, 2, 4, 6, 8, 10}) {
    for (int turn = 0; turn < 20; ++turn) {
      SCOPED_TRACE(flags * 100 + turn);
      CSimpleMatrix matrix;
      // The ENR form comes back whole only with integers in front of its commas and without a version.
      const bool enr = (flags & 8) != 0;
      matrix.SetSize(enr ? 2 : 1 + static_cast<unsigned>(random() % 7), 1 + static_cast<unsigned>(random() % 50));
      for (unsigned row = 0; row < matrix.Rows(); ++row) {
        for (unsigned column = 0; column < matrix.Cols(); ++column) {
          matrix.SetValue(column, row, enr && column == 0 ? 10.0 * (row + 1) : values(random));
        }
      }
      ASSERT_EQ(SaveCustomMatrixToFile(&matrix, name.c_str(), L"[c]", static_cast<EMatrixFlags>(flags)), 0);
      const std::string bytes = ReadBytes(folder / "m");
      CSimpleMatrix loaded;
      std::wstring comment;
      ASSERT_EQ(LoadCustomMatrixFromFile(&loaded, name.c_str(), &comment, static_cast<EMatrixFlags>(flags), false), 0);
      ASSERT_EQ(SaveCustomMatrixToFile(&loaded, name.c_str(), comment.c_str(), static_cast<EMatrixFlags>(flags)), 0);
      ASSERT_EQ(ReadBytes(folder / "m"), bytes);
    }
  }
}

TEST(Matrix, EnrThatDoesNotComeBack) {
  const CSimpleMatrix matrix = MakeMatrix({{1.5, 2}});
  Folder folder;
  const std::wstring name = (folder / "m").wstring();
  ASSERT_EQ(SaveCustomMatrixToFile(&matrix, name.c_str(), nullptr, kMatrixEnr), 0);
  EXPECT_EQ(LoadMatrix(folder / "m", 8), "0 {1.5} ");
}

TEST(Matrix, ScrambledTextEndsInOneMoreCharacter) {
  Folder folder;
  const CSimpleMatrix matrix = MakeMatrix({{1, 2}});
  ASSERT_EQ(SaveCustomMatrixToFile(&matrix, (folder / "m").wstring().c_str(), L"# c", kMatrixScrambled), 0);
  std::string bytes = ReadBytes(folder / "m");
  EXPECT_EQ(bytes.size(), std::string("# c\n\n1\t2\n").size());
  EXPECT_EQ(bytes.find('#'), bytes.npos);
  EXPECT_EQ(LoadMatrix(folder / "m", 2), "0 {1,2} # c");
  // Cut after the comment's last letter, the extra character is taken for one of the comment's own: no data, -4.
  WriteBytes(folder / "m", bytes.substr(0, 3));
  EXPECT_EQ(LoadMatrix(folder / "m", 2), "-4  ");
  const std::wstring name = (folder / "m").wstring();
  ASSERT_EQ(SaveCustomMatrixToFile(&matrix, name.c_str(), std::wstring(33, L'!').c_str(), kMatrixScrambled), 0);
  bytes = ReadBytes(folder / "m");
  EXPECT_EQ(bytes.substr(28), "\x5C\x2F\x14\x4F\x32" + bytes.substr(33));  // the key begins again at 30
  WriteBytes(folder / "m", "\x04\x64\x30\x3B");  // "1\n#c", then the end of the file as a character
  std::wstring comment;
  EXPECT_EQ(LoadCustomMatrixFromFile(nullptr, name.c_str(), &comment, kMatrixScrambled, false), 0);
  EXPECT_EQ(comment, std::wstring(L"#c") + static_cast<wchar_t>(WEOF ^ 0x27));
}

TEST(Matrix, ReadsNothingIntoOtherSizesOrWithoutMatrix) {
  std::wistringstream stream(L"# c\n1 2\n3 4\n");
  std::wstring comment;
  EXPECT_EQ(LoadCustomMatrixFromFile(nullptr, stream, &comment, kMatrixPlain, false), 0);
  EXPECT_EQ(comment, L"# c");
  std::wistringstream ragged(L"1 2\n3\n");
  CSimpleMatrix matrix = MakeMatrix({{7, 8}});
  EXPECT_EQ(LoadCustomMatrixFromFile(&matrix, ragged, nullptr, kMatrixPlain, false), -3);
  EXPECT_EQ(Text(matrix), "{7,8}");
  // Counting begins at the stream's position, storing at its start.
  std::wistringstream after_row(L"1 2 3\n4 5\n6 7\n");
  after_row.seekg(6);
  EXPECT_EQ(LoadCustomMatrixFromFile(&matrix, after_row, nullptr, kMatrixPlain, false), 0);
  EXPECT_EQ(Text(matrix), "{1,2}{4,5}");
  CSimpleMatrix copy = MakeMatrix({{7, 8}});
  EXPECT_EQ(CopyCustomMatrix(&matrix, &copy), 0);
  EXPECT_EQ(Text(copy), "{1,2}{4,5}");
  struct : CSimpleMatrix {
    int SetSize(unsigned int, unsigned int) override { throw std::bad_alloc(); }
  } of_the_caller;  // its size is right: nothing may resize it
  of_the_caller.CSimpleMatrix::SetSize(3, 2);
  std::wistringstream fitting(L"1 2 3\n4 5 6\n");
  EXPECT_EQ(LoadCustomMatrixFromFile(&of_the_caller, fitting, nullptr, kMatrixPlain, false), 0);
  of_the_caller.CSimpleMatrix::SetSize(3, 2);  // keeps the values
  EXPECT_EQ(Text(of_the_caller), "{1,2,3}{4,5,6}");
}

TEST(Matrix, Parameter) {
  struct {
    const wchar_t* text;
    const wchar_t* name;
    const wchar_t* expected;
  } cases[] = {{L"#Frequency 5\n", L"Freq", L"uency 5"},
               {L"! x\n#Name \t a b \r\n#Name c", L"Name", L"a b"},
               {L"# Name 5", L"Name", L"none"},
               {L"Name 5", L"Name", L"none"},
               {nullptr, L"Name", L"none"},
               {L"#", L"Name", L"none"}};
  for (const auto& c : cases) {
    EXPECT_EQ(GetParameter(c.text, c.name, L"none"), c.expected);
  }
  EXPECT_EQ(GetParameter(L"x\n", L"x", nullptr), L"");
}

}  // namespace
