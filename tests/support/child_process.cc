#include "support/child_process.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tarv::testing {
namespace {

std::map<std::string, ChildWork>& Works() {
  static std::map<std::string, ChildWork> works;
  return works;
}

int RunWork(const std::string& name, const std::string& argument) {
  const auto it = Works().find(name);
  if (it == Works().end()) return 125;
  const int code = it->second(argument);
  std::fflush(nullptr);
  return code;
}

#ifdef _WIN32
constexpr const wchar_t* kWorkVariable = L"TARV_TEST_CHILD_WORK";
constexpr const wchar_t* kArgumentVariable = L"TARV_TEST_CHILD_ARGUMENT";

std::wstring Wide(const std::string& utf8) {
  const int n =
      ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(n), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), n);
  return wide;
}

std::string Utf8(const wchar_t* wide) {
  const int n = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(n > 0 ? n - 1 : 0), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, utf8.data(), n, nullptr, nullptr);
  return utf8;
}

// In a child, runs the work named in the environment before any test.
class ChildWorkEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    const wchar_t* work = ::_wgetenv(kWorkVariable);
    if (work == nullptr) return;
    const wchar_t* argument = ::_wgetenv(kArgumentVariable);
    std::_Exit(RunWork(Utf8(work), argument != nullptr ? Utf8(argument) : std::string()));
  }
};

[[maybe_unused]] ::testing::Environment* const kChildEnvironment =
    ::testing::AddGlobalTestEnvironment(new ChildWorkEnvironment);
#endif

}  // namespace

ChildWorkRegistration::ChildWorkRegistration(const char* name, ChildWork work) {
  Works()[name] = work;
}

#ifdef _WIN32

ChildProcess::ChildProcess(const std::string& work_name, const std::string& argument) {
  wchar_t self[32768];
  if (::GetModuleFileNameW(nullptr, self, 32768) == 0) return;
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  std::wstring command = L"\"" + std::wstring(self) + L"\" --gtest_filter=" +
                         Wide(std::string(test->test_suite_name()) + "." + test->name());
  // The child inherits the environment; only this thread starts children.
  ::SetEnvironmentVariableW(kWorkVariable, Wide(work_name).c_str());
  ::SetEnvironmentVariableW(kArgumentVariable, Wide(argument).c_str());
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  const bool started = ::CreateProcessW(self, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                        nullptr, &startup, &info) != 0;
  ::SetEnvironmentVariableW(kWorkVariable, nullptr);
  ::SetEnvironmentVariableW(kArgumentVariable, nullptr);
  if (!started) return;
  ::CloseHandle(info.hThread);
  process_ = reinterpret_cast<std::intptr_t>(info.hProcess);
}

int ChildProcess::Wait() {
  if (process_ == -1) return code_;
  const HANDLE process = reinterpret_cast<HANDLE>(process_);
  ::WaitForSingleObject(process, INFINITE);
  DWORD code = 0;
  code_ = ::GetExitCodeProcess(process, &code) != 0 ? static_cast<int>(code) : -1;
  ::CloseHandle(process);
  process_ = -1;
  return code_;
}

void ChildProcess::Kill() {
  if (process_ == -1) return;
  ::TerminateProcess(reinterpret_cast<HANDLE>(process_), 137);
  Wait();
  code_ = -1;
}

#else

ChildProcess::ChildProcess(const std::string& work_name, const std::string& argument) {
  std::fflush(nullptr);  // nothing buffered is written twice
  const pid_t child = ::fork();
  if (child == 0) ::_exit(RunWork(work_name, argument));
  if (child > 0) process_ = child;
}

int ChildProcess::Wait() {
  if (process_ == -1) return code_;
  int status = 0;
  while (::waitpid(static_cast<pid_t>(process_), &status, 0) < 0 && errno == EINTR) {
  }
  code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  process_ = -1;
  return code_;
}

void ChildProcess::Kill() {
  if (process_ == -1) return;
  ::kill(static_cast<pid_t>(process_), SIGKILL);
  Wait();
}

#endif

ChildProcess::~ChildProcess() {
  Kill();
}

}  // namespace tarv::testing
