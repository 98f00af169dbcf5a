// The functions of a session: messages, status, attributes, locks, events. Formatted ones are in Formatted.cpp.
#include <cstring>

#include "visa/Front.h"
#include "visa/VisaConstants.h"

namespace visa {
namespace {

std::string_view Text(const void* bytes, ViUInt32 count) {
  return {static_cast<const char*>(bytes), bytes != nullptr ? count : 0};
}

/// What a manager says of itself; the same texts as of a session.
ViStatus ManagerAttribute(ViAttr attribute, void* value) {
  switch (attribute) {
    case kManufacturerName:
      return StoreText(value, kOwnName);
    case kManufacturerId:
      return StoreNumber(value, ViUInt16{0});
    case kImplementationVersion:
      return StoreNumber(value, kOwnVersion);
    case kSpecificationVersion:
      return StoreNumber(value, kStandardVersion);
    case kResourceClass:
    case kResourceName:
      return StoreText(value, "");
    case kLockState:
      return StoreNumber(value, ViUInt32{0});
    default:
      return kUnknownAttribute;
  }
}

ViStatus ForeignAttribute(const ForeignObject& foreign, ViAttr attribute, void* value) {
  // Its manager has a number of the next library; the program knows it by ours.
  if (attribute == kManagerSession) return StoreNumber(value, foreign.Manager());
  return foreign.Call("viGetAttribute", attribute, value);
}

/// The generator raises no events: everything is off, and every queue is empty. A type that a resource does not raise
/// is VI_ERROR_INV_EVENT (VPP-4.3 section 3.7.3); the standard has no other status for it.
template <typename... Arguments>
ViStatus WithoutEvents(const char* function, ViSession vi, ViUInt32 event, ViUInt16 mechanism, ViStatus all) {
  const auto own = [&] {
    if (mechanism == 0 || (mechanism != kAllMechanisms && mechanism > 7)) return kInvalidMechanism;
    return event == kAllEvents ? all : kInvalidEvent;
  };
  if (Handles().Find<ManagerSession>(vi) != nullptr) return Guarded(own);
  return OnSession(
      function, vi, [&](GeneratorSession&) { return own(); }, event, mechanism);
}

}  // namespace
}  // namespace visa

using visa::GeneratorSession;
using visa::OnSession;

VISA_EXPORT ViStatus viWrite(ViSession vi, const ViUInt8* buffer, ViUInt32 count, ViUInt32* done) {
  const auto own = [&](GeneratorSession& session) {
    if (buffer == nullptr && count > 0) return visa::kUserBuffer;
    return session.Write(visa::Text(buffer, count), done);
  };
  return OnSession("viWrite", vi, own, buffer, count, done);
}

VISA_EXPORT ViStatus viRead(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* got) {
  return OnSession(
      "viRead", vi, [&](GeneratorSession& session) { return session.Read(buffer, count, got); }, buffer, count, got);
}

VISA_EXPORT ViStatus viReadSTB(ViSession vi, ViUInt16* status) {
  const auto own = [&](GeneratorSession& session) {
    return status == nullptr ? visa::kInvalidParameter : session.ReadStatusByte(*status);
  };
  return OnSession("viReadSTB", vi, own, status);
}

VISA_EXPORT ViStatus viAssertTrigger(ViSession vi, ViUInt16 protocol) {
  const auto own = [&](GeneratorSession& session) {
    return protocol != 0 ? visa::kInvalidProtocol : session.Trigger();
  };
  return OnSession("viAssertTrigger", vi, own, protocol);
}

VISA_EXPORT ViStatus viClear(ViSession vi) {
  return OnSession("viClear", vi, [](GeneratorSession& session) { return session.Clear(); });
}

VISA_EXPORT ViStatus viGpibControlREN(ViSession vi, ViUInt16 mode) {
  return OnSession(
      "viGpibControlREN", vi, [&](GeneratorSession& session) { return session.ControlRemote(mode); }, mode);
}

VISA_EXPORT ViStatus viLock(ViSession vi, ViUInt32 type, ViUInt32 timeout, const char* requested_key,
                            char* access_key) {
  const auto own = [&](GeneratorSession& session) { return session.Lock(type, timeout, requested_key, access_key); };
  return OnSession("viLock", vi, own, type, timeout, requested_key, access_key);
}

VISA_EXPORT ViStatus viUnlock(ViSession vi) {
  return OnSession("viUnlock", vi, [](GeneratorSession& session) { return session.Unlock(); });
}

VISA_EXPORT ViStatus viGetAttribute(ViObject object, ViAttr attribute, void* value) {
  return visa::Guarded([&] {
    if (value == nullptr) return visa::kUserBuffer;
    const auto found = visa::Handles().Find<visa::Object>(object);
    if (auto* const session = dynamic_cast<GeneratorSession*>(found.get())) {
      return session->GetAttribute(attribute, value);
    }
    if (const auto* const foreign = dynamic_cast<visa::ForeignObject*>(found.get())) {
      return visa::ForeignAttribute(*foreign, attribute, value);
    }
    if (dynamic_cast<visa::ManagerSession*>(found.get()) != nullptr) return visa::ManagerAttribute(attribute, value);
    return found == nullptr ? visa::kInvalidObject : visa::kUnknownAttribute;
  });
}

VISA_EXPORT ViStatus viSetAttribute(ViObject object, ViAttr attribute, ViAttrState value) {
  return visa::Guarded([&] {
    if (visa::Handles().Find<visa::ManagerSession>(object) == nullptr) {
      const auto own = [&](GeneratorSession& session) { return session.SetAttribute(attribute, value); };
      return OnSession("viSetAttribute", object, own, attribute, value);
    }
    std::array<char, visa::kFindLength> unused{};
    return visa::ManagerAttribute(attribute, unused.data()) == visa::kSuccess ? visa::kAttributeReadOnly
                                                                              : visa::kUnknownAttribute;
  });
}

VISA_EXPORT ViStatus viStatusDesc(ViObject object, ViStatus status, char* description) {
  return visa::Guarded([&] {
    if (description == nullptr) return visa::kUserBuffer;
    const auto found = visa::Handles().Find<visa::Object>(object);
    if (const auto* const foreign = dynamic_cast<visa::ForeignObject*>(found.get())) {
      return foreign->Call("viStatusDesc", status, description);
    }
    if (found == nullptr) return visa::kInvalidObject;
    const char* const text = visa::StatusText(status);
    visa::StoreText(description, text != nullptr ? text : "This status is not known here.");
    return text != nullptr ? visa::kSuccess : visa::kWarnUnknownStatus;
  });
}

VISA_EXPORT ViStatus viEnableEvent(ViSession vi, ViUInt32 event, ViUInt16 mechanism, ViUInt32 context) {
  const auto own = [](GeneratorSession&) { return visa::kInvalidEvent; };
  return OnSession("viEnableEvent", vi, own, event, mechanism, context);
}

VISA_EXPORT ViStatus viDisableEvent(ViSession vi, ViUInt32 event, ViUInt16 mechanism) {
  return visa::WithoutEvents("viDisableEvent", vi, event, mechanism, visa::kEventAlreadyDisabled);
}

VISA_EXPORT ViStatus viDiscardEvents(ViSession vi, ViUInt32 event, ViUInt16 mechanism) {
  return visa::WithoutEvents("viDiscardEvents", vi, event, mechanism, visa::kQueueEmpty);
}

VISA_EXPORT ViStatus viWaitOnEvent(ViSession vi, ViUInt32 in_type, ViUInt32 timeout, ViUInt32* out_type,
                                   ViObject* out_context) {
  return visa::Guarded([&] {
    const auto found = visa::Handles().Find<visa::Object>(vi);
    const auto* const foreign = dynamic_cast<visa::ForeignObject*>(found.get());
    if (foreign == nullptr) {
      if (dynamic_cast<GeneratorSession*>(found.get()) == nullptr) return visa::kInvalidObject;
      return in_type == visa::kAllEvents ? visa::kNotEnabled : visa::kInvalidEvent;
    }
    visa::StoredNumber context;
    const ViStatus status =
        foreign->Call("viWaitOnEvent", in_type, timeout, out_type, out_context != nullptr ? context.Place() : nullptr);
    if (status < visa::kSuccess || out_context == nullptr) return status;
    const ViStatus given = visa::HandOut(
        std::make_shared<visa::ForeignObject>(foreign->Manager(), foreign->Library(), context.Value()), *out_context);
    return given == visa::kSuccess ? status : given;
  });
}

VISA_EXPORT ViStatus viInstallHandler(ViSession vi, ViUInt32 event, ViHandler handler, void* user) {
  return visa::Guarded([&] {
    const auto found = visa::Handles().Find<visa::Object>(vi);
    auto* const foreign = dynamic_cast<visa::ForeignObject*>(found.get());
    if (foreign != nullptr) return foreign->InstallHandler(vi, event, handler, user);
    return dynamic_cast<GeneratorSession*>(found.get()) != nullptr ? visa::kInvalidEvent : visa::kInvalidObject;
  });
}

VISA_EXPORT ViStatus viUninstallHandler(ViSession vi, ViUInt32 event, ViHandler handler, void* user) {
  return visa::Guarded([&] {
    const auto found = visa::Handles().Find<visa::Object>(vi);
    auto* const foreign = dynamic_cast<visa::ForeignObject*>(found.get());
    if (foreign != nullptr) return foreign->UninstallHandler(event, handler, user);
    return dynamic_cast<GeneratorSession*>(found.get()) != nullptr ? visa::kInvalidEvent : visa::kInvalidObject;
  });
}
