// Ways to have the front in a program beside other libraries with functions of the same names.
//
// loaded [own] FILE...: asks a generator through each front, all at once; "own" is the one that the program is linked
// to or that was preloaded. "sk" asks the library itself, whose calls of the provider may meet the front.
#include <cstring>
#include <vector>

#include "tests/visa/Front.h"

namespace {

/// 0 if the library, by its own functions, opens a generator or says that there is none; 1 otherwise.
int AskLibrary(const char* file, bool has_to_open) {
  void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return 1;
  using Open = long (*)(unsigned long, const char*, unsigned long, unsigned long, unsigned long*);
  unsigned long session = 0;
  const long status = reinterpret_cast<Open>(dlsym(library, "skOpen"))(0, "SIM5::INSTR::ZLT", 0, 10000, &session);
  std::printf("%s: skOpen %ld\n", file, status);
  return has_to_open ? status != visa::kSuccess : status != visa::kResourceNotFound;
}

}  // namespace

int main(int count, char** arguments) {
  struct Open {
    test::Library library;
    ViSession manager = 0;
    ViSession session = 0;
  };
  std::vector<Open> fronts;
  int failed = 0;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(arguments[i], "sk") == 0 || std::strcmp(arguments[i], "no_sk") == 0) {
      const bool has_to_open = arguments[i][0] == 's';
      if (++i < count) failed += AskLibrary(arguments[i], has_to_open);
      continue;
    }
    const std::string name = "SIM" + std::to_string(i) + "::INSTR::ZLT";
    Open open{test::Library(std::strcmp(arguments[i], "own") == 0 ? nullptr : arguments[i])};
    open.manager = open.library.Manager();
    const ViStatus status = open.library.Open(open.manager, name.c_str(), open.session);
    std::printf("%s: viOpen %d\n", arguments[i], status);
    failed += status != visa::kSuccess;
    fronts.push_back(open);
  }
  for (const Open& open : fronts) {
    const std::string answer = open.library.Ask(open.session, "*IDN?\n");
    std::printf("%s", answer.c_str());
    failed += answer.rfind("Sorvik,", 0) != 0;
  }
  for (const Open& open : fronts) failed += open.library.Call("viClose", open.manager) != visa::kSuccess;
  return failed;
}
