#include "text/codepage.h"

#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <optional>

namespace tarv {
namespace {

// Code points of the bytes 0x80 to 0x9F; the rest of the code page equals
// Latin-1. Undefined bytes keep their own value (a C1 control).
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

char32_t CodePointOfByte(unsigned char byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighControls[byte - 0x80];
  return byte;
}

std::optional<unsigned char> ByteOfCodePoint(char32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<unsigned char>(cp);
  for (std::size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == cp) return static_cast<unsigned char>(0x80 + i);
  }
  return std::nullopt;
}

// The next code point of `s` at `pos` (advanced), or a negative value for a
// malformed sequence, of which one byte or one maximal bad run is consumed.
UChar32 NextCodePoint(std::string_view s, std::size_t& pos) {
  std::int32_t i = static_cast<std::int32_t>(pos);
  UChar32 cp = 0;
  // ICU's macro narrows ints to bytes inside.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
  U8_NEXT(s.data(), i, static_cast<std::int32_t>(s.size()), cp);
#pragma GCC diagnostic pop
  pos = static_cast<std::size_t>(i);
  return cp;
}

// Windows-1252 of a text that needs no transliteration, or nullopt.
std::optional<std::string> DirectAnsi(std::string_view utf8) {
  // ASCII is the same in both.
  if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return (c & 0x80) == 0; })) {
    return std::string(utf8);
  }
  std::string out;
  out.reserve(utf8.size());
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    const UChar32 cp = NextCodePoint(utf8, pos);
    if (cp < 0) return std::nullopt;
    const auto byte = ByteOfCodePoint(static_cast<char32_t>(cp));
    if (!byte) return std::nullopt;
    out.push_back(static_cast<char>(*byte));
  }
  return out;
}

// The code page's characters as an ICU set, for filtering the last steps to
// what the code page lacks.
std::string OutsideCodePageSet() {
  std::string set = "[^\\u0000-\\u007F\\u00A0-\\u00FF";
  constexpr char kHex[] = "0123456789ABCDEF";
  for (const char32_t cp : kHighControls) {
    set += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
      set += kHex[(cp >> shift) & 0xF];
  }
  return set + "]";
}

// One transliterator for the process: building it reads ICU's rule data,
// which takes milliseconds.
// Letters of names that ICU's romanisations leave as they are: those of
// Azerbaijani and Old English among the Latin ones, of Kazakh, Tatar,
// Bashkir, Tajik and Uzbek among the Cyrillic ones, of Urdu and Kurdish
// among the Arabic ones, and the commas and middle dots that join names.
// Each gets the letter its languages' own romanisations give it.
constexpr const char* kLettersLeftOver =
    "ə > a; Ə > A; ǝ > a; Ǝ > A; ƿ > w; Ƿ > W;"
    "һ > h; Һ > H; ә > a; Ә > A; ү > u; Ү > U; ұ > u;"
    "Ұ > U; ө > o; Ө > O; ҳ > h; Ҳ > H; ң > ng; Ң > Ng;"
    "ҷ > j; Ҷ > J; җ > zh; Җ > Zh; ғ > gh; Ғ > Gh; қ > q;"
    "Қ > Q; ҡ > q; Ҡ > Q; ҙ > z; Ҙ > Z; ҫ > s; Ҫ > S;"
    "ӣ > i; Ӣ > I; ӯ > u; Ӯ > U; і > i; І > I;"
    "ٹ > t; ڈ > d; ڑ > r; ہ > h; ھ > h; ے > e; ں > n;"
    "ە > e; ۆ > o; ێ > e; ې > e; ۇ > u; ۈ > u; ڵ > l;"
    "ڕ > r; ، > ','; ・ > ' ';";

// One transliterator for the process: building it reads ICU's rule data,
// which takes milliseconds.
class Romaniser {
 public:
  Romaniser() {
    const std::string outside = OutsideCodePageSet();
    // Script-specific romanisations before the general one: BGN/PCGN for
    // Cyrillic is what GeoNames' own names use. What the code page still
    // lacks afterwards loses its accents (Latin-ASCII, then any remaining
    // combining mark) and the modifier letters that stand for sounds rather
    // than letters (Arabic's ain becomes ʿ).
    const std::string rules =
        ":: NFC; :: [:Cf:] Remove; :: [:Cyrillic:] Russian-Latin/BGN; "
        ":: [:Greek:] Greek-Latin/UNGEGN; " +
        std::string(kLettersLeftOver) + " :: Any-Latin; :: " + outside +
        " Latin-ASCII; :: " + outside + " NFD; :: [:Mn:] Remove; :: [[:Lm:]&" + outside +
        "] Remove; :: NFC;";
    UErrorCode status = U_ZERO_ERROR;
    UParseError parse_error;
    transliterator_.reset(
        icu::Transliterator::createFromRules("tarv-romaniser", icu::UnicodeString::fromUTF8(rules),
                                             UTRANS_FORWARD, parse_error, status));
    if (U_FAILURE(status)) transliterator_.reset();
  }

  // UTF-16 in, transliterated in place; false when ICU's data is missing.
  bool Apply(icu::UnicodeString& text) {
    if (!transliterator_) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    transliterator_->transliterate(text);
    return true;
  }

 private:
  std::mutex mutex_;
  std::unique_ptr<icu::Transliterator> transliterator_;
};

Romaniser& TheRomaniser() {
  static Romaniser romaniser;
  return romaniser;
}

icu::UnicodeString FromUtf8(std::string_view utf8) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

// Only the runs of characters the code page lacks are transliterated, after
// the whole text was composed (NFC), so that what the code page holds stays
// exactly as typed and a romanisation can never add a wildcard ("＊", "؟"):
// a "*", "?" or "[" that comes out of one counts as unmappable.
std::string TransliteratedAnsi(std::string_view utf8) {
  // Malformed bytes become U+FFFD here, which nothing romanises.
  icu::UnicodeString text = FromUtf8(utf8);
  UErrorCode status = U_ZERO_ERROR;
  if (const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status); U_SUCCESS(status)) {
    icu::UnicodeString composed = nfc->normalize(text, status);
    if (U_SUCCESS(status)) text = composed;
  }
  std::string out;
  auto append = [&out](UChar32 cp, bool romanised) {
    const auto byte = ByteOfCodePoint(static_cast<char32_t>(cp));
    const bool wildcard = byte && (*byte == '*' || *byte == '?' || *byte == '[');
    out.push_back(byte && !(romanised && wildcard) ? static_cast<char>(*byte) : kUnmappable);
  };
  for (std::int32_t i = 0; i < text.length();) {
    const UChar32 cp = text.char32At(i);
    if (ByteOfCodePoint(static_cast<char32_t>(cp))) {
      append(cp, false);
      i += U16_LENGTH(cp);
      continue;
    }
    std::int32_t end = i;
    while (end < text.length() && !ByteOfCodePoint(static_cast<char32_t>(text.char32At(end))))
      end += U16_LENGTH(text.char32At(end));
    icu::UnicodeString run(text, i, end - i);
    TheRomaniser().Apply(run);
    for (std::int32_t k = 0; k < run.length();) {
      const UChar32 r = run.char32At(k);
      append(r, true);
      k += U16_LENGTH(r);
    }
    i = end;
  }
  return out;
}

}  // namespace

std::string Utf8FromAnsi(std::string_view ansi) {
  std::string out;
  out.reserve(ansi.size() + ansi.size() / 4);
  for (const char c : ansi) {
    const char32_t cp = CodePointOfByte(static_cast<unsigned char>(c));
    char buffer[U8_MAX_LENGTH];
    std::int32_t length = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
    U8_APPEND_UNSAFE(buffer, length, cp);
#pragma GCC diagnostic pop
    out.append(buffer, static_cast<std::size_t>(length));
  }
  return out;
}

std::string AnsiFromUtf8(std::string_view utf8) {
  // Most texts are in the code page already; they need no ICU.
  if (auto direct = DirectAnsi(utf8)) return std::move(*direct);
  return TransliteratedAnsi(utf8);
}

bool IsTransliterable(std::string_view utf8) {
  return AnsiFromUtf8(utf8).find(kUnmappable) == std::string::npos;
}

bool IsAnsiRepresentable(std::string_view utf8) {
  return DirectAnsi(utf8).has_value();
}

std::string Utf8WithoutDiacritics(std::string_view utf8) {
  static const std::unique_ptr<icu::Transliterator> stripper = [] {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parse_error;
    // Marks of other scripts are vowels and consonants (Devanagari, Thai,
    // Hebrew points): without them the word is another word.
    std::unique_ptr<icu::Transliterator> t(icu::Transliterator::createFromRules(
        "strip",
        icu::UnicodeString::fromUTF8(
            ":: NFD; $base = [[:Latin:][:Greek:]]; $base { [:Mn:]+ > ; :: NFC;"),
        UTRANS_FORWARD, parse_error, status));
    if (U_FAILURE(status)) t.reset();
    return t;
  }();
  icu::UnicodeString text = FromUtf8(utf8);
  if (stripper != nullptr) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    stripper->transliterate(text);
  }
  std::string out;
  text.toUTF8String(out);
  return out;
}

namespace {

// Letters, marks and digits make names; blanks, punctuation and the format
// characters between them are left out of keys but belong in a name.
enum class NamePart { kKept, kDropped, kForeign };

NamePart PartOfName(UChar32 cp) {
  switch (u_charType(cp)) {
    case U_UPPERCASE_LETTER:
    case U_LOWERCASE_LETTER:
    case U_TITLECASE_LETTER:
    case U_MODIFIER_LETTER:
    case U_OTHER_LETTER:
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_COMBINING_SPACING_MARK:
    case U_DECIMAL_DIGIT_NUMBER:
    case U_LETTER_NUMBER:
    case U_OTHER_NUMBER:
      return NamePart::kKept;
    case U_SPACE_SEPARATOR:
    case U_DASH_PUNCTUATION:
    case U_START_PUNCTUATION:
    case U_END_PUNCTUATION:
    case U_CONNECTOR_PUNCTUATION:
    case U_OTHER_PUNCTUATION:
    case U_INITIAL_PUNCTUATION:
    case U_FINAL_PUNCTUATION:
    case U_FORMAT_CHAR:
      return NamePart::kDropped;
    default:
      return NamePart::kForeign;
  }
}

}  // namespace

std::string FoldedScriptText(std::string_view utf8) {
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    const UChar32 cp = NextCodePoint(utf8, pos);
    if (cp < 0 || PartOfName(cp) == NamePart::kForeign) return {};
  }
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* fold = icu::Normalizer2::getNFKCCasefoldInstance(status);
  if (U_FAILURE(status)) return {};
  const icu::UnicodeString folded = fold->normalize(FromUtf8(utf8), status);
  if (U_FAILURE(status)) return {};
  icu::UnicodeString kept;
  for (std::int32_t i = 0; i < folded.length();) {
    const UChar32 cp = folded.char32At(i);
    if (PartOfName(cp) == NamePart::kKept) kept.append(cp);
    i += U16_LENGTH(cp);
  }
  std::string out;
  kept.toUTF8String(out);
  return out;
}

NonNameCharacter FirstNonNameCharacter(std::string_view utf8) {
  std::size_t pos = 0;
  for (std::size_t n = 1; pos < utf8.size(); ++n) {
    const UChar32 cp = NextCodePoint(utf8, pos);
    if (cp < 0) return {n, -1};
    if (PartOfName(cp) == NamePart::kForeign && !ByteOfCodePoint(static_cast<char32_t>(cp)))
      return {n, cp};
  }
  return {};
}

std::string_view Utf8Prefix(std::string_view utf8, std::size_t max_chars) {
  std::size_t pos = 0;
  for (std::size_t n = 0; n < max_chars && pos < utf8.size(); ++n)
    NextCodePoint(utf8, pos);
  return utf8.substr(0, pos);
}

std::size_t Utf8Length(std::string_view utf8) {
  std::size_t pos = 0;
  std::size_t n = 0;
  for (; pos < utf8.size(); ++n)
    NextCodePoint(utf8, pos);
  return n;
}

}  // namespace tarv
