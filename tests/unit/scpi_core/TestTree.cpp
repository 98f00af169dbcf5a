#include "tests/unit/scpi_core/TestTree.h"

#include <cstdio>
#include <iterator>

namespace test {
namespace {

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

int Record(const char* name, const std::vector<sParamInfo>& parameters, bool query, void* device,
           sComErrorInfo* error) {
  Talk& talk = *static_cast<Talk*>(device);
  std::string values;
  for (const sParamInfo& parameter : parameters) {
    values += (values.empty() ? "" : ",") +
              (parameter.type == kParamCharacter ? "w" + Number(parameter.value) : Number(parameter.value));
    if (parameter.type == kParamString) values += "'" + parameter.text + "'";
    if (parameter.type == kParamBlock) values += "b";
  }
  talk.calls += (talk.calls.empty() ? "" : " ") + std::string(name) + (query ? "?" : "") + "(" + values + ")";
  if (talk.detail.code != 0) *error = talk.detail;
  if (!query) return talk.refusal;
  talk.SendResponse("<", 1);
  talk.SendResponse(name, static_cast<int>(std::string(name).size()));
  return talk.SendResponse(">", 1) == 1 ? 0 : -310;
}

#define RECORDER(name)                                                                           \
  int name(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error) { \
    return Record(#name, parameters, query, device, error);                                      \
  }
RECORDER(IDN)
RECORDER(RST)
RECORDER(CLS)
RECORDER(OPC)
RECORDER(OUTP)
RECORDER(ABOR)
RECORDER(ERR)
RECORDER(COUN)
RECORDER(FREQ)
RECORDER(MODE)
RECORDER(STAR)
RECORDER(STOP)
RECORDER(LFREQ)
RECORDER(POW)
RECORDER(TEXT)
RECORDER(DATA)
RECORDER(TWIN)
RECORDER(MARK)
#undef RECORDER

const sMnemonicRow kWords[] = {{"minimum", 0, 3}, {"maximum", 0, 3}, {"default", 0, 3}};
const sMnemonicRow kBooleans[] = {{"off", -1, -1}, {"on", -1, -1}, {"0", -1, -1}, {"1", -1, -1}};
const sMnemonicRow kModes[] = {{"cw", -1, -1}, {"fixed", -1, 3}, {"sweep", -1, 3}, {"list", -1, -1}};
const sUnitRow kHertz[] = {{"hz", 1.0}, {"khz", 1e3}, {"mhz", 1e6}, {"ghz", 1e9}};
const sFParam kFrequency = {kKindNumeric, kWords, 3, kHertz, 4, kForSet | kTakesWords};
const sFParam kPower = {kKindNumeric, kWords, 3, nullptr, 0, kForSet};
const sFParam kBoolean = {kKindCharacter, kBooleans, 4, nullptr, 0, kForSet};
const sFParam kMode = {kKindCharacter, kModes, 4, nullptr, 0, kForSet};
const sFParam kList = {kKindNumericList, nullptr, 0, kHertz, 4, kForSet};
const sFParam kText = {kKindString, nullptr, 0, nullptr, 0, kForSet};
const sFParam kBlock = {kKindBlock, nullptr, 0, nullptr, 0, kForSet};

const sCommandTreeNode kLevel0[] = {
    {"system", 4, 0, 0, false, 1, nullptr, {kBothForms, nullptr, 0}},
    {"source", 4, 0, 3, true, 1, nullptr, {kBothForms, nullptr, 0}},
    {"abort", 4, 0, 5, false, 1, ABOR, {kSetForm, nullptr, 0}},
    {"output", 4, 0, 6, false, 1, OUTP, {kBothForms, &kBoolean, 1}},
    {"idn", -1, 0, -1, false, 1, IDN, {kQueryForm, nullptr, 0}},
    {"rst", -1, 0, -1, false, 1, RST, {kSetForm, nullptr, 0}},
    {"cls", -1, 0, -1, false, 1, CLS, {kSetForm, nullptr, 0}},
    {"opc", -1, 0, -1, false, 1, OPC, {kQueryForm, nullptr, 0}},
    // One header on two rows with other parameters, and nodes with several instances: the real tree has neither.
    {"twin", -1, 0, 22, false, 1, TWIN, {kBothForms, &kMode, 1}},
    {"twin", -1, 0, 23, false, 1, TWIN, {kBothForms, &kPower, 1}},
    {"marker", 4, 0, 24, false, 9, nullptr, {kBothForms, nullptr, 0}},
    {"text", -1, 0, 20, false, 1, TEXT, {kBothForms, &kText, 1}},
    {"data", -1, 0, 21, false, 1, DATA, {kBothForms, &kBlock, 1}},
};
const sCommandTreeNode kLevel1[] = {
    {"peak", -1, 24, 30, false, 9, MARK, {kBothForms, &kPower, 1}},
    {"error", 3, 0, 0, false, 1, ERR, {kQueryForm, nullptr, 0}},
    {"count", 4, 0, 1, false, 1, COUN, {kQueryForm, nullptr, 0}},
    {"frequency", 4, 3, 4, false, 1, FREQ, {kBothForms, &kFrequency, 1}},
    {"power", 3, 3, 5, false, 1, POW, {kBothForms, &kPower, 1}},
    {"list", -1, 3, 8, false, 1, nullptr, {kBothForms, nullptr, 0}},
    {"state", 4, 6, 12, true, 1, OUTP, {kBothForms, &kBoolean, 1}},
};
const sCommandTreeNode kLevel2[] = {
    {"cw", -1, 4, 3, true, 1, FREQ, {kBothForms, &kFrequency, 1}},
    {"mode", -1, 4, 5, false, 1, MODE, {kBothForms, &kMode, 1}},
    {"start", 4, 4, 6, false, 1, STAR, {kBothForms, &kFrequency, 1}},
    {"stop", -1, 4, 7, false, 1, STOP, {kBothForms, &kFrequency, 1}},
    {"frequency", 4, 8, 25, false, 1, LFREQ, {kBothForms, &kList, 1}},
};

}  // namespace

Talk::Talk() {
  AddTreeLevel(0, kLevel0, std::size(kLevel0));
  AddTreeLevel(1, kLevel1, std::size(kLevel1));
  AddTreeLevel(2, kLevel2, std::size(kLevel2));
  AddTreeLevel(-1, kLevel0, 1);
}

int Talk::SendResponse(const char* text, int length) {
  sent.append(text, static_cast<std::size_t>(length));
  return length;
}

int Talk::RaiseError(int code, const char* text) {
  errors += (errors.empty() ? "" : " ") + std::to_string(code) + text;
  return 0;
}

int Talk::SendEnd() {
  return SendResponse("$", 1);
}

std::string Talk::operator()(const std::string& message) {
  calls.clear();
  sent.clear();
  errors.clear();
  // Exactly as long as the message, so that a sanitizer sees any read past its end.
  const std::vector<char> copy(message.begin(), message.end());
  std::vector<char> text = copy;
  Parse(text.data(), static_cast<int>(text.size()), this, this);
  return sent + "|" + calls + "|" + errors;
}

}  // namespace test
