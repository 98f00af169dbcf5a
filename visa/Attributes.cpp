// The attributes of a session on a generator: one row each. What the interface of the program's name would have beyond
// them (the address of a host, say) is not known here and refused.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "visa/GeneratorSession.h"
#include "visa/VisaConstants.h"

namespace visa {
namespace {

/// An attribute that can be set: where it is kept, and which values it takes.
struct Row {
  ViAttr attribute;
  ViUInt64 (*get)(const Settings&);
  void (*set)(Settings&, ViUInt64);
  unsigned width;  ///< bytes
  bool (*takes)(ViUInt64);
};

template <auto Member>
constexpr Row Kept(ViAttr attribute, bool (*takes)(ViUInt64)) {
  using Value = std::remove_reference_t<decltype(std::declval<Settings&>().*Member)>;
  return {attribute, [](const Settings& settings) { return static_cast<ViUInt64>(settings.*Member); },
          [](Settings& settings, ViUInt64 value) { settings.*Member = static_cast<Value>(value); }, sizeof(Value),
          takes};
}

bool Any(ViUInt64) {
  return true;
}
bool Positive(ViUInt64 value) {
  return value > 0;
}
bool Boolean(ViUInt64 value) {
  return value <= 1;
}
/// The interface's normal way of writing; there is no other here.
bool Normal(ViUInt64 value) {
  return value == 1;
}
bool ReadMode(ViUInt64 value) {
  return value == 1 || value == 3;
}
bool WriteMode(ViUInt64 value) {
  return value == 1 || value == 2;
}
/// The trigger by software, as 16 bits; the generator's own inputs are set by its commands.
bool SoftwareTrigger(ViUInt64 value) {
  return value == 0xFFFF;
}

constexpr std::array kRows = {
    Kept<&Settings::timeout_ms>(kTimeoutValue, Any),
    Kept<&Settings::termination_character>(kTerminationCharacter, Any),
    Kept<&Settings::termination_enabled>(kTerminationCharacterEnabled, Boolean),
    Kept<&Settings::send_end>(kSendEndEnabled, Boolean),
    Kept<&Settings::suppress_end>(kSuppressEndEnabled, Boolean),
    Kept<&Settings::maximum_queue_length>(kMaximumQueueLength, Positive),
    Kept<&Settings::user_data_32>(kUserData32, Any),
    Kept<&Settings::user_data>(kUserData, Any),
    Kept<&Settings::io_protocol>(kIoProtocol, Normal),
    Kept<&Settings::dma_allowed>(kDmaAllowed, Boolean),
    Kept<&Settings::file_append>(kFileAppendEnabled, Boolean),
    Kept<&Settings::read_buffer_mode>(kReadBufferMode, ReadMode),
    Kept<&Settings::write_buffer_mode>(kWriteBufferMode, WriteMode),
    Kept<&Settings::trigger_id>(kTriggerId, SoftwareTrigger),
    Kept<&Settings::readdress>(kReaddressEnabled, Boolean),
    Kept<&Settings::unaddress>(kUnaddressEnabled, Boolean),
};

ViUInt64 Cut(ViUInt64 value, unsigned width) {
  return width >= sizeof value ? value : value & ((ViUInt64{1} << (8 * width)) - 1);
}

const Row* FindRow(ViAttr attribute) {
  const auto* const found =
      std::find_if(kRows.begin(), kRows.end(), [attribute](const Row& row) { return row.attribute == attribute; });
  return found == kRows.end() ? nullptr : found;
}

}  // namespace

ViStatus StoreText(void* target, const std::string& text) {
  const std::size_t length = std::min(text.size(), kFindLength - 1);
  std::memcpy(target, text.data(), length);
  static_cast<char*>(target)[length] = '\0';
  return kSuccess;
}

ViStatus GeneratorSession::GetAttribute(ViAttr attribute, void* value) {
  if (const Row* const row = FindRow(attribute)) {
    // The low bytes come first on this machine.
    const ViUInt64 state = row->get(Current());
    std::memcpy(value, &state, row->width);
    return kSuccess;
  }
  const bool gpib = m_parts.primary_address >= 0;
  switch (attribute) {
    case kResourceClass:
      return StoreText(value, m_parts.resource_class);
    case kResourceName:
      return StoreText(value, m_generator);
    case kInterfaceInstanceName:
      return StoreText(value, "Generator by " + std::string(kOwnName));
    case kManufacturerName:
      return StoreText(value, kOwnName);
    case kLockState:
      return StoreNumber(value, m_instrument->LockState());
    case kManagerSession:
      return StoreNumber(value, Manager());
    case kReadBufferSize:
      return StoreNumber(value, Current().read_buffer_size);
    case kWriteBufferSize:
      return StoreNumber(value, Current().write_buffer_size);
    case kImplementationVersion:
      return StoreNumber(value, kOwnVersion);
    case kSpecificationVersion:
      return StoreNumber(value, kStandardVersion);
    case kManufacturerId:
      return StoreNumber(value, ViUInt16{0});
    case kInterfaceType:
      return StoreNumber(value, m_parts.interface_type);
    case kInterfaceNumber:
      return StoreNumber(value, m_parts.interface_number);
    case kRemoteEnableState:
      return StoreNumber(value, Current().remote_enabled);
    case kPrimaryAddress:
      return gpib ? StoreNumber(value, static_cast<ViUInt16>(m_parts.primary_address)) : kUnknownAttribute;
    case kSecondaryAddress:
      // 0xFFFF stands for none.
      return gpib ? StoreNumber(value, static_cast<ViUInt16>(m_parts.secondary_address)) : kUnknownAttribute;
    default:
      return kUnknownAttribute;
  }
}

ViStatus GeneratorSession::SetAttribute(ViAttr attribute, ViAttrState value) {
  const Row* const row = FindRow(attribute);
  if (row == nullptr) {
    // Whatever can be read can't be set then.
    std::array<char, kFindLength> unused{};
    return GetAttribute(attribute, unused.data()) == kSuccess ? kAttributeReadOnly : kUnknownAttribute;
  }
  // Callers pass registers whose upper half may hold anything.
  const ViUInt64 state = Cut(value, row->width);
  if (!row->takes(state)) return kAttributeState;
  const std::lock_guard hold(m_lock);
  row->set(m_settings, state);
  return kSuccess;
}

}  // namespace visa
