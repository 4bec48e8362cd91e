// Test support: a temporary atlas folder and a clean process state.
#ifndef TARVPLACES_TESTS_SUPPORT_TEMP_FOLDER_H_
#define TARVPLACES_TESTS_SUPPORT_TEMP_FOLDER_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/paths.h"
#include "tarvplaces/message_sink.h"

namespace tarv::testing {

// A fresh folder under the system's temporary folder, removed with its
// contents when the object goes away.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // The folder as a host would pass it, without a trailing separator.
  std::string str() const { return Utf8OfPath(path_); }
  // Writes `bytes` to `relative` (folders created as needed); returns the path.
  // As a host that changes atlas files behind the component's back, the
  // thread then forgets what it saw of the files (ForgetFileStatuses), so
  // that its next call looks again instead of waiting for the folders' watch.
  std::filesystem::path Write(const std::string& relative, const std::string& bytes) const;
  // The same without forgetting: for tests of how the component notices.
  std::filesystem::path WriteUnannounced(const std::string& relative,
                                         const std::string& bytes) const;
  std::string Read(const std::string& relative) const;

 private:
  std::filesystem::path path_;
};

// Why read-only files or folders cannot be tested here, or "" when they can:
// whether this process can still write a file, or create one in a folder,
// that was made read-only by fs::permissions (root can; Wine run by root
// can; Windows folders have no read-only permission at all). Probed once.
std::string WhyReadOnlyIsNotEnforced(bool folder);

// Why symbolic links cannot be made here, or "" when they can (Windows
// needs a privilege for them; Wine cannot make them at all). Probed once.
std::string WhySymlinksCannotBeMade();

// True when the Windows build runs under Wine rather than Windows.
bool RunningUnderWine();

// Base fixture: every test starts as in a fresh process, with a temporary
// atlas folder and a message sink that records instead of printing.
class AtlasTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  TempFolder folder_;
  std::vector<Message> messages_;
};

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_TEMP_FOLDER_H_
