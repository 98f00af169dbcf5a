#include "tools/Interruption.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM};

std::atomic<const char*> g_last_words = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads it");

/// The usual effect is back already, and comes when this returns.
void SayLastWords(int signal) {
  const char* const line = g_last_words.load();
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, std::strlen(line));
  raise(signal);
}

}  // namespace

LastWords::LastWords(const char* line) {
  g_last_words = line;
  struct sigaction action {};
  action.sa_handler = SayLastWords;
  action.sa_flags = SA_RESETHAND;
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &m_before[i]);
    // A shell has its background jobs ignore Ctrl-C.
    if (m_before[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

LastWords::~LastWords() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &m_before[i], nullptr);
}

void Interruption::Watch() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kSignals) sigaddset(&signals, signal);
  pthread_sigmask(SIG_BLOCK, &signals, &m_before);
  m_descriptor = signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

Interruption::~Interruption() {
  if (m_descriptor == -1) return;
  close(m_descriptor);
  pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

bool Interruption::Happened() {
  signalfd_siginfo info{};
  if (m_signal == 0 && read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    m_signal = static_cast<int>(info.ssi_signo);
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
  }
  return m_signal != 0;
}

bool Interruption::HappensWithin(std::chrono::milliseconds time) {
  pollfd event{m_descriptor, POLLIN, 0};
  if (!Happened()) poll(&event, 1, static_cast<int>(time.count()));
  return Happened();
}

bool Interruption::WaitForInput() {
  pollfd events[] = {{STDIN_FILENO, POLLIN, 0}, {m_descriptor, POLLIN, 0}};
  while (!Happened()) {
    if (poll(events, 2, -1) < 0 && errno != EINTR) return true;  // reading will say what is wrong
    if (events[0].revents != 0) return !Happened();
  }
  return false;
}
