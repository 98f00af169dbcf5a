#include "tools/Interruption.h"

#include <cerrno>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

void Interruption::Watch() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
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
