// The vi functions and the control calls. A read ends when it has all the bytes it asked for (VI_SUCCESS), or when the
// session's time-out is over (VI_ERROR_TMO, with the count that came). Replies are one stream of bytes: a head and its
// body can be read by two calls, and no status says that more bytes are left.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "protocol/visa.h"
#include "simulator/Instrument.h"
#include "simulator/PacketText.h"
#include "simulator/control.h"

#define SIM_EXPORT __attribute__((visibility("default")))

namespace sim {
namespace {

constexpr std::size_t kMostMessages = 1000;

struct Session {
  unsigned long manager = 0;               ///< 0 for a manager itself
  std::shared_ptr<Instrument> instrument;  ///< null for a manager
  Instrument::Link link;
  std::atomic<std::uint32_t> timeout_ms{2000};
};

/// Made once and never destroyed: sessions may be used until the last thread of the process has ended.
struct Registry {
  std::mutex lock;
  unsigned long next = 1;
  std::map<unsigned long, std::shared_ptr<Session>> sessions;
  std::map<int, std::shared_ptr<Instrument>> instruments;
  std::set<std::string> said;
};

Registry& TheRegistry() {
  static auto* const registry = new Registry;
  return *registry;
}

/// Each message once, so that a caller that keeps trying one name does not fill the screen.
void Say(const std::string& text) {
  Registry& registry = TheRegistry();
  const std::lock_guard hold(registry.lock);
  if (registry.said.size() < kMostMessages && registry.said.insert(text).second)
    std::fprintf(stderr, "simulator: %s\n", text.c_str());
}

std::shared_ptr<Session> Find(unsigned long handle) {
  Registry& registry = TheRegistry();
  const std::lock_guard hold(registry.lock);
  const auto found = registry.sessions.find(handle);
  return found == registry.sessions.end() ? nullptr : found->second;
}

unsigned long Add(std::shared_ptr<Session> session) {
  Registry& registry = TheRegistry();
  const std::lock_guard hold(registry.lock);
  const unsigned long handle = registry.next++;
  registry.sessions.emplace(handle, std::move(session));
  return handle;
}

/// The instrument with this number, made if there is none. A later open that gives other keys is told that they change
/// nothing.
std::shared_ptr<Instrument> Meet(const Resource& resource) {
  std::shared_ptr<Instrument> instrument;
  {
    Registry& registry = TheRegistry();
    const std::lock_guard hold(registry.lock);
    std::shared_ptr<Instrument>& place = registry.instruments[resource.number];
    if (place == nullptr) place = std::make_shared<Instrument>(resource);
    instrument = place;
  }
  if (!resource.keys.empty() && resource.keys != instrument->Keys())
    Say("SIM" + std::to_string(resource.number) + " is already there with the keys \"" + instrument->Keys() + "\"; \"" +
        resource.keys + "\" changes nothing");
  return instrument;
}

bool IsNarrow(const Session& session) {
  return session.instrument != nullptr && session.instrument->IsNarrow();
}

/// A narrow session returns statuses without their sign extended.
long Status(long status, bool narrow) {
  return narrow ? static_cast<long>(static_cast<std::uint32_t>(status)) : status;
}

void Store(void* place, unsigned long value, bool narrow) {
  if (place == nullptr) return;
  const auto low = static_cast<std::uint32_t>(value);
  if (narrow) {
    std::memcpy(place, &low, sizeof low);
  } else {
    std::memcpy(place, &value, sizeof value);
  }
}

long Close(unsigned long handle) {
  std::vector<std::shared_ptr<Session>> closed;
  {
    Registry& registry = TheRegistry();
    const std::lock_guard hold(registry.lock);
    const auto found = registry.sessions.find(handle);
    if (found == registry.sessions.end()) return VI_ERROR_INV_OBJECT;
    closed.push_back(found->second);
    registry.sessions.erase(found);
    // Closing a manager closes the sessions that were opened through it.
    if (closed.front()->instrument == nullptr) {
      std::erase_if(registry.sessions, [&](const auto& entry) {
        if (entry.second->manager != handle) return false;
        closed.push_back(entry.second);
        return true;
      });
    }
  }
  for (const std::shared_ptr<Session>& session : closed) {
    if (session->instrument == nullptr) continue;
    session->instrument->Detach(&session->link);
    if (LogIsOn()) LogLine(session->instrument->Number(), "-- close");
  }
  return VI_SUCCESS;
}

long Open(unsigned long manager, const char* name, unsigned long& handle, bool& narrow) {
  const std::shared_ptr<Session> owner = Find(manager);
  if (owner == nullptr || owner->instrument != nullptr) return VI_ERROR_INV_OBJECT;
  if (name == nullptr) return VI_ERROR_INV_RSRC_NAME;
  const ParsedResource parsed = ParseResource(name);
  if (!parsed.error.empty()) {
    Say("\"" + std::string(name) + "\": " + parsed.error);
    return parsed.is_ours ? VI_ERROR_INV_RSRC_NAME : VI_ERROR_RSRC_NFOUND;
  }
  const auto session = std::make_shared<Session>();
  session->manager = manager;
  session->instrument = Meet(parsed.resource);
  session->instrument->Attach(&session->link);
  if (LogIsOn()) LogLine(parsed.resource.number, "-- open " + std::string(name));
  narrow = IsNarrow(*session);
  handle = Add(session);
  return VI_SUCCESS;
}

/// Of "SIM3 rest" the number and the rest; -1 if there is no number.
int ReadNumber(std::string_view text, std::string_view& rest) {
  const std::size_t blank = text.find(' ');
  rest = blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1);
  const ParsedResource parsed = ParseResource(std::string(text.substr(0, blank)) + "::INSTR");
  return parsed.error.empty() ? parsed.resource.number : -1;
}

std::shared_ptr<Instrument> FindInstrument(int number) {
  Registry& registry = TheRegistry();
  const std::lock_guard hold(registry.lock);
  const auto found = registry.instruments.find(number);
  return found == registry.instruments.end() ? nullptr : found->second;
}

std::string Control(std::string_view command) {
  std::string_view words;
  const int number = ReadNumber(command, words);
  if (number < 0) return "a control call starts with SIM<n>";
  for (const std::string_view word : Split(words, " ")) {
    const std::shared_ptr<Instrument> instrument = FindInstrument(number);
    if (instrument == nullptr) return "nobody has opened that instrument";
    if (word == "forget") {
      Registry& registry = TheRegistry();
      const std::lock_guard hold(registry.lock);
      registry.instruments.erase(number);
    } else if (!word.empty()) {
      std::string error = instrument->Control(word);
      if (!error.empty()) return error;
    }
  }
  return {};
}

}  // namespace
}  // namespace sim

extern "C" {

SIM_EXPORT long viOpenDefaultRM(void* session_out) {
  sim::Store(session_out, sim::Add(std::make_shared<sim::Session>()), false);
  return VI_SUCCESS;
}

SIM_EXPORT long viOpen(unsigned long manager, const char* name, unsigned long, unsigned long, void* session_out) {
  unsigned long handle = 0;
  bool narrow = false;
  const long status = sim::Open(manager, name, handle, narrow);
  sim::Store(session_out, handle, narrow);
  return sim::Status(status, narrow);
}

SIM_EXPORT long viClose(unsigned long session) {
  return sim::Close(session);
}

SIM_EXPORT long viClear(unsigned long session) {
  const auto found = sim::Find(session);
  if (found == nullptr || found->instrument == nullptr) return VI_ERROR_INV_OBJECT;
  return sim::Status(found->instrument->Clear(found->link), sim::IsNarrow(*found));
}

SIM_EXPORT long viRead(unsigned long session, unsigned char* buffer, unsigned long count, void* count_out) {
  const auto found = sim::Find(session);
  if (found == nullptr || found->instrument == nullptr) return VI_ERROR_INV_OBJECT;
  std::size_t got = 0;
  const long status = found->instrument->Read(found->link, {buffer, count}, found->timeout_ms, got);
  sim::Store(count_out, got, sim::IsNarrow(*found));
  return sim::Status(status, sim::IsNarrow(*found));
}

SIM_EXPORT long viWrite(unsigned long session, const unsigned char* buffer, unsigned long count, void* count_out) {
  const auto found = sim::Find(session);
  if (found == nullptr || found->instrument == nullptr) return VI_ERROR_INV_OBJECT;
  const long status = found->instrument->Write(found->link, {buffer, count});
  sim::Store(count_out, status == VI_SUCCESS ? count : 0, sim::IsNarrow(*found));
  return sim::Status(status, sim::IsNarrow(*found));
}

SIM_EXPORT long viGetAttribute(unsigned long session, unsigned long attribute, void* value_out) {
  const auto found = sim::Find(session);
  if (found == nullptr) return VI_ERROR_INV_OBJECT;
  if (attribute != VI_ATTR_TMO_VALUE) return sim::Status(VI_ERROR_NSUP_ATTR, sim::IsNarrow(*found));
  sim::Store(value_out, found->timeout_ms, sim::IsNarrow(*found));
  return VI_SUCCESS;
}

SIM_EXPORT long viSetAttribute(unsigned long session, unsigned long attribute, unsigned long value) {
  const auto found = sim::Find(session);
  if (found == nullptr) return VI_ERROR_INV_OBJECT;
  if (attribute != VI_ATTR_TMO_VALUE) return sim::Status(VI_ERROR_NSUP_ATTR, sim::IsNarrow(*found));
  found->timeout_ms = static_cast<std::uint32_t>(value);
  return VI_SUCCESS;
}

SIM_EXPORT int simControl(const char* command) {
  const std::string text = command == nullptr ? "" : command;
  const std::string error = sim::Control(text);
  if (error.empty()) return 0;
  sim::Say("\"" + text + "\": " + error);
  return -1;
}

SIM_EXPORT int simQuery(const char* what, char* out, int size) {
  std::string_view rest;
  const int number = sim::ReadNumber(what == nullptr ? "" : what, rest);
  const auto instrument = number < 0 ? nullptr : sim::FindInstrument(number);
  bool known = false;
  const std::string answer = instrument == nullptr ? std::string() : instrument->Query(rest, known);
  if (out != nullptr && size > 0) {
    const std::size_t kept = std::min(answer.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(out, answer.data(), kept);
    out[kept] = '\0';
  }
  return known ? static_cast<int>(answer.size()) : -1;
}

}  // extern "C"
