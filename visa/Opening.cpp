// The resource manager's functions: open, find, name, close.
#include <cstring>
#include <set>

#include "visa/Expression.h"
#include "visa/Front.h"
#include "visa/Provider.h"
#include "visa/VisaConstants.h"

namespace visa {
namespace {

constexpr ViUInt32 kAllAccessModes = 7;  // exclusive lock, shared lock, settings of a configuration program
constexpr ViUInt32 kOwnOpenTimeout = 10000;

ViStatus OpenGenerator(ViSession manager, const std::string& generator, const char* name, ViUInt32 access_mode,
                       ViUInt32 timeout_ms, ViSession& handle) {
  if (generator.size() >= kFindLength) return kInvalidName;
  if (!LoadProvider(generator)) return kLibraryNotFound;
  std::shared_ptr<Instrument> instrument;
  // Programs pass 0 for a lock that they do not ask for; the generator needs its time to start.
  const ViStatus status = Instrument::Open(generator, timeout_ms == 0 ? kOwnOpenTimeout : timeout_ms, instrument);
  if (status != kSuccess) return status;
  const auto session = std::make_shared<GeneratorSession>(manager, std::move(instrument), generator, name);
  if (const ViUInt32 lock = access_mode & (kExclusiveLock | kSharedLock); lock != 0) {
    const ViStatus locked =
        session->Lock((lock & kExclusiveLock) != 0 ? kExclusiveLock : kSharedLock, timeout_ms, nullptr, nullptr);
    if (locked < kSuccess) {
      session->Close();
      return locked;
    }
  }
  return HandOut(session, handle);
}

ViStatus OpenForeign(ViSession manager, ManagerSession& names, const char* name, ViUInt32 access_mode,
                     ViUInt32 timeout_ms, ViSession& handle) {
  const std::shared_ptr<ForeignObject> next = names.Next();
  if (next == nullptr) return names.NotFound();
  StoredNumber opened;
  const ViStatus status = next->Call("viOpen", name, access_mode, timeout_ms, opened.Place());
  if (status < kSuccess) return status;
  const ViStatus given = HandOut(std::make_shared<ForeignObject>(manager, next->Library(), opened.Value()), handle);
  return given == kSuccess ? status : given;
}

/// The attributes that a condition of viFindRsrc may name.
std::optional<AttributeValue> FoundAttribute(const std::string& name, std::string_view attribute) {
  const NameParts parts = PartsOf(name);
  const auto number = [](int value) { return AttributeValue{false, {}, static_cast<double>(value)}; };
  if (attribute == "VI_ATTR_INTF_TYPE") return number(parts.interface_type);
  if (attribute == "VI_ATTR_INTF_NUM") return number(parts.interface_number);
  if (attribute == "VI_ATTR_RSRC_CLASS") return AttributeValue{true, parts.resource_class, 0};
  if (attribute == "VI_ATTR_RSRC_NAME") return AttributeValue{true, name, 0};
  if (attribute == "VI_ATTR_RSRC_MANF_NAME") return AttributeValue{true, kOwnName, 0};
  if (attribute == "VI_ATTR_GPIB_PRIMARY_ADDR" && parts.primary_address >= 0) return number(parts.primary_address);
  return std::nullopt;
}

/// Aliases, what the provider lists, and what the next library finds, each name once.
std::vector<std::string> Find(ManagerSession& manager, const Expression& expression, const char* text) {
  std::vector<std::string> names;
  std::set<std::string> known;
  const auto offer = [&](const std::string& name) {
    const AttributeLookup lookup = [&name](std::string_view attribute) { return FoundAttribute(name, attribute); };
    if (expression.Matches(name, lookup) && known.insert(Comparable(name)).second) names.push_back(name);
  };
  for (const auto& [key, alias] : manager.Names().All()) offer(alias.name);
  for (const std::string& name : ListProviderNames()) offer(name + "::ZLT");
  const std::shared_ptr<ForeignObject> next = manager.Next();
  if (next == nullptr) return names;
  StoredNumber list;
  StoredNumber count;
  std::array<char, kFindLength> name{};
  ViStatus status = next->Call("viFindRsrc", text, list.Place(), count.Place(), name.data());
  for (ViUInt32 i = 0; status >= kSuccess && i < count.Value(); ++i) {
    if (known.insert(Comparable(name.data())).second) names.emplace_back(name.data());
    status = i + 1 < count.Value() ? next->Library().Call("viFindNext", list.Value(), name.data()) : status;
  }
  if (list.Value() != 0) next->Library().Call("viClose", list.Value());
  return names;
}

ViStatus Parse(ViSession handle, const char* name, ViUInt16* type, ViUInt16* number, char* resource_class,
               char* expanded, char* alias) {
  const std::shared_ptr<ManagerSession> manager = Handles().Find<ManagerSession>(handle);
  if (manager == nullptr) return kInvalidObject;
  if (name == nullptr || std::strlen(name) >= kFindLength) return kInvalidName;
  const std::string generator = manager->Generator(name);
  if (generator.empty()) {
    const std::shared_ptr<ForeignObject> next = manager->Next();
    if (next == nullptr) return manager->NotFound();
    if (resource_class == nullptr && expanded == nullptr && alias == nullptr) {
      return next->Call("viParseRsrc", name, type, number);
    }
    return next->Call("viParseRsrcEx", name, type, number, resource_class, expanded, alias);
  }
  const NameParts parts = PartsOf(name);
  if (type != nullptr) *type = parts.interface_type;
  if (number != nullptr) *number = parts.interface_number;
  if (resource_class != nullptr) StoreText(resource_class, parts.resource_class);
  if (expanded != nullptr) StoreText(expanded, generator);
  const Aliases::Alias* const found = GeneratorName(name).empty() ? manager->Names().Find(name) : nullptr;
  if (alias != nullptr) StoreText(alias, found != nullptr ? found->name : std::string());
  return kSuccess;
}

}  // namespace
}  // namespace visa

VISA_EXPORT ViStatus viOpenDefaultRM(ViSession* manager) {
  return visa::Guarded([&] {
    if (manager == nullptr) return visa::kInvalidParameter;
    *manager = visa::Handles().Add(std::make_shared<visa::ManagerSession>());
    return visa::kSuccess;
  });
}

VISA_EXPORT ViStatus viOpen(ViSession manager, const char* name, ViUInt32 access_mode, ViUInt32 timeout,
                            ViSession* session) {
  return visa::Guarded([&] {
    if (session == nullptr) return visa::kInvalidParameter;
    *session = 0;
    const auto names = visa::Handles().Find<visa::ManagerSession>(manager);
    if (names == nullptr) return visa::kInvalidObject;
    if (name == nullptr || *name == '\0') return visa::kInvalidName;
    const std::string generator = names->Generator(name);
    if (generator.empty()) return visa::OpenForeign(manager, *names, name, access_mode, timeout, *session);
    if ((access_mode & ~visa::kAllAccessModes) != 0) return visa::kInvalidAccessMode;
    return visa::OpenGenerator(manager, generator, name, access_mode, timeout, *session);
  });
}

VISA_EXPORT ViStatus viClose(ViObject object) {
  return visa::Guarded([&] {
    if (object == 0) return visa::kWarnNullObject;
    const std::shared_ptr<visa::Object> closed = visa::Handles().Remove(object);
    if (closed == nullptr) return visa::kInvalidObject;
    // Sessions close one after the other, the manager's own end last.
    for (const auto& opened : visa::Handles().RemoveOf(object)) opened->Close();
    return closed->Close();
  });
}

VISA_EXPORT ViStatus viFindRsrc(ViSession manager, const char* expression, ViObject* list, ViUInt32* count,
                                char* first) {
  return visa::Guarded([&] {
    if (list != nullptr) *list = 0;
    if (count != nullptr) *count = 0;
    const auto names = visa::Handles().Find<visa::ManagerSession>(manager);
    if (names == nullptr) return visa::kInvalidObject;
    if (first == nullptr) return visa::kUserBuffer;
    const auto parsed = expression != nullptr ? visa::Expression::Parse(expression) : std::nullopt;
    if (!parsed) return visa::kInvalidExpression;
    std::vector<std::string> found = visa::Find(*names, *parsed, expression);
    if (found.empty()) return visa::kResourceNotFound;
    visa::StoreText(first, found.front());
    if (count != nullptr) *count = static_cast<ViUInt32>(found.size());
    found.erase(found.begin());
    if (list == nullptr) return visa::kSuccess;
    return visa::HandOut(std::make_shared<visa::FindList>(manager, std::move(found)), *list);
  });
}

VISA_EXPORT ViStatus viFindNext(ViObject list, char* next) {
  return visa::Guarded([&] {
    const auto names = visa::Handles().Find<visa::FindList>(list);
    if (names == nullptr) return visa::kInvalidObject;
    if (next == nullptr) return visa::kUserBuffer;
    std::string name;
    if (!names->Next(name)) return visa::kResourceNotFound;
    return visa::StoreText(next, name);
  });
}

VISA_EXPORT ViStatus viParseRsrc(ViSession manager, const char* name, ViUInt16* type, ViUInt16* number) {
  return visa::Guarded([&] { return visa::Parse(manager, name, type, number, nullptr, nullptr, nullptr); });
}

VISA_EXPORT ViStatus viParseRsrcEx(ViSession manager, const char* name, ViUInt16* type, ViUInt16* number,
                                   char* resource_class, char* expanded, char* alias) {
  return visa::Guarded([&] { return visa::Parse(manager, name, type, number, resource_class, expanded, alias); });
}
