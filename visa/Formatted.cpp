// The formatted functions. Those of another library's sessions go on as their va_list forms.
#include <cstring>
#include <type_traits>

#include "visa/FormatInput.h"
#include "visa/FormatOutput.h"
#include "visa/Front.h"

namespace visa {
namespace {

/// A text in memory, for viSScanf: one response.
class TextInput : public ScanInput {
 public:
  explicit TextInput(const char* text) : m_text(text) {}
  bool Ready(bool) override { return *m_text != '\0'; }
  char Front() const override { return *m_text; }
  void Pop() override { ++m_text; }
  ViStatus Status() const override { return kSuccess; }

 private:
  const char* m_text;
};

ViStatus PrintToBuffer(char* buffer, const char* format, va_list arguments) {
  if (buffer == nullptr) return kUserBuffer;
  std::string text;
  const ViStatus status = FormatOutput(format, arguments, text, [] { return kSuccess; });
  if (status == kSuccess) std::memcpy(buffer, text.c_str(), text.size() + 1);
  return status;
}

/// A pointer, as functions get it: the type itself is an array. Other libraries' functions get it as void*, because no
/// template takes the type's own attributes.
using Arguments = std::decay_t<va_list>;

ViStatus Print(ViSession vi, const char* format, Arguments arguments) {
  const auto own = [&](GeneratorSession& session) { return session.Print(format, arguments); };
  return OnSession("viVPrintf", vi, own, format, static_cast<void*>(arguments));
}

ViStatus Scan(ViSession vi, const char* format, Arguments arguments) {
  const auto own = [&](GeneratorSession& session) { return session.Scan(format, arguments); };
  return OnSession("viVScanf", vi, own, format, static_cast<void*>(arguments));
}

ViStatus Query(ViSession vi, const char* write_format, const char* read_format, Arguments arguments) {
  const auto own = [&](GeneratorSession& session) { return session.Query(write_format, read_format, arguments); };
  return OnSession("viVQueryf", vi, own, write_format, read_format, static_cast<void*>(arguments));
}

ViStatus ScanText(const char* buffer, const char* format, Arguments arguments) {
  if (buffer == nullptr) return kUserBuffer;
  TextInput input(buffer);
  return FormatInput(format, arguments, input);
}

}  // namespace
}  // namespace visa

using visa::GeneratorSession;
using visa::OnSession;

// A variadic function is its va_list form after the start of the list.
#define ZLT_WITH_ARGUMENTS(last, call) \
  va_list arguments;                   \
  va_start(arguments, last);           \
  const ViStatus status = call;        \
  va_end(arguments);                   \
  return status

VISA_EXPORT ViStatus viVPrintf(ViSession vi, const char* format, va_list arguments) {
  return visa::Print(vi, format, arguments);
}

VISA_EXPORT ViStatus viPrintf(ViSession vi, const char* format, ...) {
  ZLT_WITH_ARGUMENTS(format, visa::Print(vi, format, arguments));
}

VISA_EXPORT ViStatus viVScanf(ViSession vi, const char* format, va_list arguments) {
  return visa::Scan(vi, format, arguments);
}

VISA_EXPORT ViStatus viScanf(ViSession vi, const char* format, ...) {
  ZLT_WITH_ARGUMENTS(format, visa::Scan(vi, format, arguments));
}

VISA_EXPORT ViStatus viVQueryf(ViSession vi, const char* write_format, const char* read_format, va_list arguments) {
  return visa::Query(vi, write_format, read_format, arguments);
}

VISA_EXPORT ViStatus viQueryf(ViSession vi, const char* write_format, const char* read_format, ...) {
  ZLT_WITH_ARGUMENTS(read_format, visa::Query(vi, write_format, read_format, arguments));
}

VISA_EXPORT ViStatus viVSPrintf(ViSession vi, char* buffer, const char* format, va_list list) {
  visa::Arguments arguments = list;
  const auto own = [&](GeneratorSession&) { return visa::PrintToBuffer(buffer, format, arguments); };
  return OnSession("viVSPrintf", vi, own, buffer, format, static_cast<void*>(arguments));
}

VISA_EXPORT ViStatus viSPrintf(ViSession vi, char* buffer, const char* format, ...) {
  ZLT_WITH_ARGUMENTS(format, viVSPrintf(vi, buffer, format, arguments));
}

VISA_EXPORT ViStatus viVSScanf(ViSession vi, const char* buffer, const char* format, va_list list) {
  visa::Arguments arguments = list;
  const auto own = [&](GeneratorSession&) { return visa::ScanText(buffer, format, arguments); };
  return OnSession("viVSScanf", vi, own, buffer, format, static_cast<void*>(arguments));
}

VISA_EXPORT ViStatus viSScanf(ViSession vi, const char* buffer, const char* format, ...) {
  ZLT_WITH_ARGUMENTS(format, viVSScanf(vi, buffer, format, arguments));
}

VISA_EXPORT ViStatus viBufWrite(ViSession vi, const ViUInt8* buffer, ViUInt32 count, ViUInt32* done) {
  const auto own = [&](GeneratorSession& session) {
    if (buffer == nullptr && count > 0) return visa::kUserBuffer;
    return session.BufferedWrite({reinterpret_cast<const char*>(buffer), count}, done);
  };
  return OnSession("viBufWrite", vi, own, buffer, count, done);
}

VISA_EXPORT ViStatus viBufRead(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* got) {
  const auto own = [&](GeneratorSession& session) { return session.BufferedRead(buffer, count, got); };
  return OnSession("viBufRead", vi, own, buffer, count, got);
}

VISA_EXPORT ViStatus viFlush(ViSession vi, ViUInt16 mask) {
  return OnSession(
      "viFlush", vi, [&](GeneratorSession& session) { return session.Flush(mask); }, mask);
}

VISA_EXPORT ViStatus viSetBuf(ViSession vi, ViUInt16 mask, ViUInt32 size) {
  const auto own = [&](GeneratorSession& session) { return session.SetBuffer(mask, size); };
  return OnSession("viSetBuf", vi, own, mask, size);
}
