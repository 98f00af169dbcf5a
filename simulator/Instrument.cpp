// Requests, replies, runs and faults of one instrument. Control calls and questions are in InstrumentControl.cpp.
#include "simulator/Instrument.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "protocol/visa.h"
#include "simulator/PacketText.h"

namespace sim {
namespace {

constexpr std::size_t kRecordedPackets = 100000;

std::string SerialOf(int number) {
  std::array<char, 32> digits{};
  std::snprintf(digits.data(), digits.size(), "%06d", number);
  return digits.data();
}

}  // namespace

Instrument::Instrument(const Resource& resource)
    : m_number(resource.number),
      m_keys(resource.keys),
      m_narrow(resource.settings.narrow),
      m_settings(resource.settings),
      m_model(m_settings.profile, m_settings.model.value_or(std::string(m_settings.profile.model)),
              m_settings.serial.value_or(SerialOf(resource.number)), m_settings.files) {
  m_model.States() = m_settings.conditions;
}

void Instrument::Attach(Link* link) {
  const Lock lock(m_lock);
  m_links.push_back(link);
}

void Instrument::Detach(Link* link) {
  {
    const Lock lock(m_lock);
    link->m_closed = true;
    link->m_run.reset();
    std::erase(m_links, link);
  }
  m_changed.notify_all();
}

long Instrument::Write(Link& link, View request) {
  {
    const Lock lock(m_lock);
    const std::uint64_t packet = m_packets++;
    if (m_settings.faults.lost.Hits(packet)) m_lost = true;
    if (m_lost) return VI_ERROR_CONN_LOST;
    if (m_settings.record) {
      if (m_record.size() >= kRecordedPackets) m_record.pop_front();
      m_record.push_back(RequestText(request));
    }
    if (LogIsOn()) LogLine(m_number, "-> " + RequestText(request));
    if (m_settings.faults.drop.Hits(packet)) {
      m_lost = true;
    } else if (!m_settings.faults.silent.Hits(packet)) {
      std::uint16_t command = SK_TEST;
      if (request.size() == kHeadSize) command = ReadHead(request).command;
      if (command == SK_RESET) link.m_chunks.clear();
      if (command == SK_RESET) link.m_run.reset();
      if (command == SK_RUN) {
        StartRun(link, request, packet);
      } else {
        Bytes reply = AnswerWithFaults(request, packet);
        NoteSet(request, reply);
        Deliver(link, std::move(reply), packet);
      }
    }
  }
  m_changed.notify_all();
  return VI_SUCCESS;
}

void Instrument::NoteSet(View request, View reply) {
  if (request.size() < kHeadSize + 2 || ReadHead(request).command != SK_SET) return;
  m_set_status[ReadWord(request, kHeadSize)] = ReadHead(reply).status;
}

void Instrument::StartRun(Link& link, View request, std::uint64_t packet) {
  const RunPlan plan = m_model.Plan();
  const bool by_point = plan.trigger == RunPlan::Trigger::kPoint;
  Link::Run run;
  run.request.assign(request.begin(), request.end());
  run.packet = packet;
  run.rising = plan.rising;
  if (plan.trigger != RunPlan::Trigger::kNone) run.triggers_left = by_point ? plan.points : 1;
  const std::chrono::nanoseconds length(plan.dwell_ns * (by_point ? 1 : plan.points));
  run.length = std::max(length, m_settings.shortest_pass);
  run.end = run.triggers_left > 0 ? Clock::time_point::max() : Clock::now() + run.length;
  link.m_run = std::move(run);
}

/// If the run's time has come, ends the run and delivers its reply.
void Instrument::FinishRun(Link& link, Clock::time_point now) {
  if (!link.m_run || link.m_run->end > now) return;
  const Link::Run run = std::move(*link.m_run);
  link.m_run.reset();
  ++m_passes;
  Deliver(link, AnswerWithFaults(run.request, run.packet), run.packet);
  m_changed.notify_all();
}

void Instrument::Trigger(std::uint64_t count, bool rising_edge) {
  for (Link* const link : m_links) {
    if (!link->m_run || link->m_run->triggers_left == 0 || link->m_run->rising != rising_edge) continue;
    Link::Run& run = *link->m_run;
    run.triggers_left -= std::min(count, run.triggers_left);
    if (run.triggers_left == 0) run.end = Clock::now() + run.length;
  }
}

Bytes Instrument::AnswerWithFaults(View request, std::uint64_t packet) {
  const Fault& fault = m_settings.faults.status;
  if (!fault.Hits(packet)) return m_model.Answer(request);
  const auto status = static_cast<std::int16_t>(fault.value);
  const bool has_body = request.size() > kHeadSize;
  if (status < 0) return MakeReply(request, status, has_body ? request.subspan(kHeadSize) : View{});
  Bytes reply = m_model.Answer(request);
  WriteWord(reply, kStatusAt, static_cast<std::uint16_t>(status));
  return reply;
}

void Instrument::Deliver(Link& link, Bytes reply, std::uint64_t packet) {
  const Faults& faults = m_settings.faults;
  if (LogIsOn()) LogLine(m_number, "<- " + ReplyText(reply));
  if (faults.babble.Hits(packet)) std::swap(reply[0], reply[1]);
  if (faults.cut.Hits(packet)) reply.resize(std::min(reply.size(), static_cast<std::size_t>(faults.cut.value)));
  Clock::time_point ready{};
  const bool in_pieces = faults.pieces.Hits(packet);
  if (m_settings.latency.count() > 0 || in_pieces) ready = Clock::now() + m_settings.latency;
  if (in_pieces && static_cast<std::size_t>(faults.pieces.value) < reply.size()) {
    const auto border = reply.begin() + faults.pieces.value;
    link.m_chunks.push_back({Bytes(reply.begin(), border), 0, ready});
    link.m_chunks.push_back({Bytes(border, reply.end()), 0, ready + m_settings.gap});
  } else {
    link.m_chunks.push_back({std::move(reply), 0, ready});
  }
}

/// Moves what has come into the buffer. `early` means that the next bytes are still under way, until `ready`.
std::size_t Instrument::Take(Link& link, std::span<std::uint8_t> buffer, bool& early, Clock::time_point& ready) {
  std::size_t got = 0;
  early = false;
  while (got < buffer.size() && !link.m_chunks.empty()) {
    Link::Chunk& chunk = link.m_chunks.front();
    if (chunk.ready != Clock::time_point{} && chunk.ready > Clock::now()) {
      early = true;
      ready = chunk.ready;
      break;
    }
    const std::size_t count = std::min(buffer.size() - got, chunk.bytes.size() - chunk.taken);
    std::copy_n(chunk.bytes.begin() + static_cast<long>(chunk.taken), count, buffer.begin() + static_cast<long>(got));
    got += count;
    chunk.taken += count;
    if (chunk.taken == chunk.bytes.size()) link.m_chunks.pop_front();
  }
  return got;
}

long Instrument::Read(Link& link, std::span<std::uint8_t> buffer, std::uint32_t timeout_ms, std::size_t& got) {
  constexpr std::uint32_t kForEver = 0xFFFFFFFF;
  Lock lock(m_lock);
  got = 0;
  Clock::time_point deadline = Clock::time_point::max();
  bool has_deadline = false;
  for (;;) {
    if (link.m_closed) return VI_ERROR_INV_OBJECT;
    if (m_lost) return VI_ERROR_CONN_LOST;
    if (link.m_run) FinishRun(link, Clock::now());
    bool early = false;
    Clock::time_point wake = Clock::time_point::max();
    got += Take(link, buffer.subspan(got), early, wake);
    if (got == buffer.size()) return VI_SUCCESS;
    if (!has_deadline && timeout_ms != kForEver) deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
    has_deadline = true;
    if (Clock::now() >= deadline) return VI_ERROR_TMO;
    if (link.m_run) wake = std::min(wake, link.m_run->end);
    wake = std::min(wake, deadline);
    if (wake == Clock::time_point::max()) {
      m_changed.wait(lock);
    } else {
      m_changed.wait_until(lock, wake);
    }
  }
}

long Instrument::Clear(Link& link) {
  ClearResult result = ClearResult::kWorks;
  {
    const Lock lock(m_lock);
    if (LogIsOn()) LogLine(m_number, "-- clear");
    link.m_chunks.clear();
    link.m_run.reset();
    result = m_settings.clear;
    if (m_lost) return VI_ERROR_CONN_LOST;
  }
  m_changed.notify_all();
  if (result == ClearResult::kWorks) return VI_SUCCESS;
  return result == ClearResult::kFails ? VI_ERROR_IO : VI_ERROR_NIMPL_OPER;
}

}  // namespace sim
