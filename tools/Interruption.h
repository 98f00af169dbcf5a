// Ctrl-C and the like, taken as events at points where the program can say in what state it leaves the instrument.
#pragma once

#include <array>
#include <chrono>
#include <csignal>

/// While it lives, SIGINT and SIGTERM print a line on the error stream and then end the process as usual. For where
/// nothing can be done in order, as during opening. Not two at a time.
class LastWords {
 public:
  /// `line` ends in a line end and outlives this.
  explicit LastWords(const char* line);
  ~LastWords();
  LastWords(const LastWords&) = delete;
  LastWords& operator=(const LastWords&) = delete;

 private:
  std::array<struct sigaction, 2> m_before{};
};

/// Thrown where there is nothing to go on with after an interruption.
struct Interrupted {};

/// From Watch on, SIGINT and SIGTERM no longer end the process but are noticed by Happened. The first that is noticed
/// gives both their usual effect back, so that a second Ctrl-C ends a program that is slow to close.
class Interruption {
 public:
  Interruption() = default;
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Threads that are started later inherit the blocked signals.
  void Watch();

  bool Happened();

  /// Waits for it.
  bool HappensWithin(std::chrono::milliseconds time);

  /// The exit status that shells give a program ended by this signal.
  int ExitStatus() const { return 128 + m_signal; }

  /// Waits until the standard input can be read. False when interrupted.
  bool WaitForInput();

 private:
  sigset_t m_before{};
  int m_descriptor = -1;
  int m_signal = 0;
};
