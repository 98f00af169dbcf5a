#include <cwchar>
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "scpi_zlt/lookups.h"

#include "protocol/ComSetInfo.h"
#include "protocol/comset.h"

namespace {

std::string Text(const char* text) {
  return text != nullptr ? text : "(null)";
}

TEST(Vocabulary, RowsHaveTheNumbersOfTheProtocol) {
  const struct {
    int row, id;
  } statuses[] = {{0, SK_NO_ERROR},
                  {24, SK_NO_SIGNAL_WARNING},
                  {25, SE_READ_TIMEOUT},
                  {27, SE_CANT_EXTRACT_MEMORY},
                  {28, SE_CANT_OPEN_FILE},
                  {29, SE_WRITE_FILE_ERROR},
                  {31, SE_UNKNOWN_ERROR},
                  {36, SE_NO_DATA},
                  {37, SK_CRITICAL_ERROR},
                  {73, SK_CALIBRATION_POWER_ERROR},
                  {74, SKAPI_REQUEST_FAIL},
                  {111, SK_W3T_USER_CHANGES},
                  {112, -1},
                  {-1, -1}},
    parameters[] = {{0, P_FREQUENCY},
                    {40, P_Q2T_MAX_NUMBER},
                    {41, P_CLK},
                    {134, P_PRESELECTOR_MAX_MIN},
                    {135, P_W3T_UNITS},
                    {145, P_MAX_NUMBER},
                    {175, P_DEMOD_SPECTRUM_RBW_EX},
                    {176, -1},
                    {-1, -1}};
  for (const auto& c : statuses) EXPECT_EQ(GetErrorIDByIndex(c.row), c.id) << c.row;
  for (const auto& c : parameters) EXPECT_EQ(GetParameterIDByIndex(c.row), c.id) << c.row;
  EXPECT_EQ(GetErrorsCount(), 112);
  EXPECT_EQ(GetParametersCount(), 176);
}

// No row hides another: each number leads to a name of its own, and the name leads back.
TEST(Vocabulary, EveryRowIsFound) {
  const auto first_word = [](const char* row) { return std::string(row).substr(0, std::string(row).find(' ')); };
  std::set<std::string> names;
  for (int row = 0; row < GetErrorsCount(); ++row) {
    SCOPED_TRACE(row);
    const int id = GetErrorIDByIndex(row);
    EXPECT_TRUE(names.insert(first_word(GetErrorName(id))).second);
    EXPECT_GT(std::wcslen(GetErrorString(id)), 5u);
    EXPECT_STRNE(GetErrorString(id), L"Неизвестная ошибка");
  }
  for (int row = 0; row < GetParametersCount(); ++row) {
    SCOPED_TRACE(row);
    const int id = GetParameterIDByIndex(row);
    EXPECT_EQ(GetParameterID(first_word(GetParameterName(id)).c_str()), id);
    EXPECT_EQ(std::wstring(GetParameterDescriptionW(id)) == L"Неизвестный параметр", row >= kDescribedParametersCount);
  }
}

TEST(Vocabulary, NamesByNumber) {
  const struct {
    const char* (*lookup)(int);
    int id;
    const char* expected;
  } cases[] = {
      {GetCommandName, 3, "SK_SET"},
      {GetCommandName, 8, "(null)"},
      {GetCommandName, -1, "(null)"},
      {GetErrorName, 20486, "SE_READ_TIMEOUT = 20486"},
      {GetErrorName, 20487, "SE_WRITE_TIMEOUT"},
      {GetErrorName, -32768, "SK_CRITICAL_ERROR = -32768"},
      {GetErrorName, 32768, "NO_ERROR"},
      {GetErrorName, 20488, "NO_ERROR"},
      {GetParameterName, 41, "(null)"},
      {GetParameterName, 50, "P_CLK = 50"},
      {GetParameterName, 2, "P_FREQUENCY_LIST2"},
  };
  for (const auto& c : cases) EXPECT_EQ(Text(c.lookup(c.id)), c.expected) << c.id;
}

TEST(Vocabulary, TextsByNumber) {
  const struct {
    const wchar_t* (*lookup)(int);
    int id;
    const wchar_t* expected;
  } cases[] = {
      {GetErrorString, 0, L"Команда успешно выполнена"},
      {GetErrorString, 22, L"Нет захвата от внешнего опорного генератора"},
      {GetErrorString, -32740, L"Нет захвата от внешнего опорного генератора"},
      {GetErrorString, -32761, L"Нет захвата 1-го гетеродина"},
      {GetErrorString, 20506, L"Отсутствует соединение с прибором"},
      {GetErrorString, -32509, L"Не найден файл в приборе"},
      {GetErrorString, 20488, L"Неизвестная ошибка"},
      {GetParameterDescriptionW, 31, L"Настройки модуляции."},
      {GetParameterDescriptionW, 92, L"Сдвиг начальной фазы"},
      {GetParameterDescriptionW, 211, L"Неизвестный параметр"},
      {GetParameterDescriptionW, 45, L"Неизвестный параметр"},
  };
  for (const auto& c : cases) EXPECT_STREQ(c.lookup(c.id), c.expected) << c.id;
}

TEST(Vocabulary, NumbersByName) {
  const struct {
    int (*lookup)(const char*);
    const char* text;
    int expected;
  } cases[] = {
      {GetCommandID, "3", 3},      {GetCommandID, "SET", 3},        {GetCommandID, "set", -1},
      {GetCommandID, "_SET", 3},   {GetCommandID, "K_SET", -1},     {GetCommandID, "-3", -1},
      {GetCommandID, "99", 99},    {GetCommandID, "", -1},          {GetParameterID, "FREQUENCY", 0},
      {GetParameterID, "MODE", 3}, {GetParameterID, "REQUENCY", 0}, {GetParameterID, "P_CLK = 50", -1},
      {GetParameterID, "CLK", 50}, {GetParameterID, "0x1F", 31},    {GetParameterID, "7abc", 7},
  };
  for (const auto& c : cases) EXPECT_EQ(c.lookup(c.text), c.expected) << c.text;
}

TEST(Vocabulary, TablesOfTheCallersOwn) {
  const char* names[] = {"A1_ONE", "", "B2 = 7", "C3=-2", "D4"};
  const char* values[] = {"a", "b", "c", "d", "e"};
  const int ids[] = {0, 1, 7, -2, -1};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(GetEnumID(names, i), ids[i]);
    EXPECT_EQ(GetEnumIndexByID(names, 5, ids[i]), i);
    EXPECT_EQ(Text(GetEnumValue(names, values, 5, ids[i])), values[i]);
  }
  EXPECT_EQ(GetEnumID(names, -1), -1);
  EXPECT_EQ(GetEnumID(names, 5, "C3"), -2);
  EXPECT_EQ(GetEnumID(names, 5, ""), 1);
  EXPECT_EQ(GetEnumIndexByID(names, 5, 8), 5);
  EXPECT_EQ(GetEnumIndexByID(names, -3, 0), 0);
  EXPECT_EQ(GetEnumName(names, 0, 0), nullptr);
}

}  // namespace
