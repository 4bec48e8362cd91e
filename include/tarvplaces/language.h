// The language component: the host's language number and its texts.
#ifndef TARVPLACES_LANGUAGE_H_
#define TARVPLACES_LANGUAGE_H_

#include <cstdint>
#include <map>
#include <string>

namespace tarv {

// Language numbers as hosts use them. Only 2 selects German in the place
// service and the data store; the dialogs have their own rule (1 and 3 are
// English there, everything else German).
inline constexpr std::int32_t kLanguageEnglish = 1;
inline constexpr std::int32_t kLanguageGerman = 2;

// Holds the language number and an optional resource file of numbered texts.
// A new component starts with German (kLanguageGerman), the first language of
// the hosts this atlas serves.
class TarvLanguage {
 public:
  std::int32_t Language() const noexcept { return language_; }
  void SetLanguage(std::int32_t language) noexcept { language_ = language; }

  // Loads numbered texts from a UTF-8 file of lines "number<TAB>text"; lines
  // that do not start with a number are ignored. A missing or unreadable file
  // leaves no texts loaded. Returns false when the file could not be read.
  bool SetResourceFile(const std::string& path);
  const std::string& ResourceFile() const noexcept { return resource_file_; }

  // The text with this number from the resource file, or "" when there is none.
  std::string Text(std::int32_t number) const;

  // The German text when the language number is 2, else the English one.
  const std::string& Choose(const std::string& english, const std::string& german) const {
    return language_ == kLanguageGerman ? german : english;
  }

 private:
  std::int32_t language_ = kLanguageGerman;
  std::string resource_file_;
  std::map<std::int32_t, std::string> texts_;
};

}  // namespace tarv

#endif  // TARVPLACES_LANGUAGE_H_
