// The front, as seen by a program that loads it by name.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

#include "visa/VisaTypes.h"

namespace test {

/// A function of the library by name, with the types of its call: Call<ViStatus>("viClear", vi).
class Library {
 public:
  /// Null: whatever the program itself finds first, linked or preloaded.
  explicit Library(const char* file) : m_handle(file == nullptr ? RTLD_DEFAULT : dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (file != nullptr && m_handle == nullptr) {
      std::fprintf(stderr, "%s\n", dlerror());
      std::exit(1);
    }
  }

  template <typename... Arguments>
  ViStatus Call(const char* name, Arguments... arguments) const {
    const auto function = reinterpret_cast<ViStatus (*)(Arguments...)>(dlsym(m_handle, name));
    return function != nullptr ? function(arguments...) : visa::Error(0xFFFF);
  }
  template <typename Function>
  Function Get(const char* name) const {
    return reinterpret_cast<Function>(dlsym(m_handle, name));
  }
  ViSession Manager() const {
    ViSession manager = 0;
    return Call("viOpenDefaultRM", &manager) == visa::kSuccess ? manager : 0;
  }
  ViStatus Open(ViSession manager, const char* name, ViSession& session) const {
    return Call("viOpen", manager, name, ViUInt32{0}, ViUInt32{0}, &session);
  }
  ViStatus Write(ViSession session, const std::string& text) const {
    ViUInt32 done = 0;
    return Call("viWrite", session, reinterpret_cast<const ViUInt8*>(text.data()), static_cast<ViUInt32>(text.size()),
                &done);
  }
  std::string Read(ViSession session) const {
    std::array<char, 1000> answer{};
    ViUInt32 got = 0;
    const ViStatus status =
        Call("viRead", session, reinterpret_cast<ViUInt8*>(answer.data()), static_cast<ViUInt32>(answer.size()), &got);
    return status == visa::kSuccess ? std::string(answer.data(), got) : "status " + std::to_string(status);
  }
  std::string Ask(ViSession session, const std::string& question) const {
    const ViStatus status = Write(session, question);
    return status == visa::kSuccess ? Read(session) : "status " + std::to_string(status);
  }

 private:
  void* m_handle;
};

}  // namespace test
