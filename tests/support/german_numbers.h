// Numbers written the German way (decimal comma) for as long as it lives: a
// German LC_NUMERIC, the previous one back after. Systems name the locale
// differently, and it may not be installed: then name() is empty.
#ifndef TARVPLACES_TESTS_SUPPORT_GERMAN_NUMBERS_H_
#define TARVPLACES_TESTS_SUPPORT_GERMAN_NUMBERS_H_

#include <clocale>
#include <string>

namespace tarv::testing {

class GermanNumbers {
 public:
  GermanNumbers() : previous_(std::setlocale(LC_NUMERIC, nullptr)) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "German_Germany.1252"}) {
      if (std::setlocale(LC_NUMERIC, name) != nullptr) {
        name_ = name;
        break;
      }
    }
  }
  GermanNumbers(const GermanNumbers&) = delete;
  GermanNumbers& operator=(const GermanNumbers&) = delete;
  ~GermanNumbers() { std::setlocale(LC_NUMERIC, previous_.c_str()); }

  const std::string& name() const { return name_; }

 private:
  std::string previous_;
  std::string name_;
};

inline constexpr const char* kNoGermanLocale =
    "no German locale is installed (de_DE.UTF-8 on Linux: locale-gen)";

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_GERMAN_NUMBERS_H_
