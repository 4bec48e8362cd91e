// Test support: another process of the test program, for tests of what
// processes see of each other's files (a writer in another program, a
// writer killed halfway, two writers at once).
//
// The work is a function registered by name that gets one text argument
// (folders, numbers): the child shares nothing else with the test, so it sets
// up what it needs from the argument. On POSIX systems the test program
// forks; on Windows it is started again with only the running test selected
// and the work named in its environment, and a global test environment runs
// the work before any test and exits with its result.
#ifndef TARVPLACES_TESTS_SUPPORT_CHILD_PROCESS_H_
#define TARVPLACES_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <cstdint>
#include <string>

namespace tarv::testing {

// The work of a child: its exit code.
using ChildWork = int (*)(const std::string& argument);

// Registers `work` under `name`; for namespace-scope objects.
struct ChildWorkRegistration {
  ChildWorkRegistration(const char* name, ChildWork work);
};

// A running child. Destroying it kills it if it still runs.
class ChildProcess {
 public:
  ChildProcess(const std::string& work_name, const std::string& argument);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Waits for the end; the exit code, or -1 when it was killed or could not
  // be started.
  int Wait();
  // Ends it at once, wherever it is.
  void Kill();

 private:
  std::intptr_t process_ = -1;  // a pid, or a Windows process handle
  int code_ = -1;
};

// Starts the work in a child and waits for it; its exit code.
inline int RunInChild(const std::string& work_name, const std::string& argument) {
  return ChildProcess(work_name, argument).Wait();
}

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_CHILD_PROCESS_H_
