#include "util/text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "text/codepage.h"

namespace tarv {

std::string Trim(std::string_view s, std::string_view trim_char) {
  if (trim_char == " ") {
    const auto first = s.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    const auto last = s.find_last_not_of(' ');
    return std::string(s.substr(first, last - first + 1));
  }
  const auto cut = s.find(trim_char);
  if (cut == std::string_view::npos) return {};
  return std::string(s.substr(0, cut));
}

std::string Get_Prae(std::string_view s) {
  const auto dot = s.rfind('.');
  return std::string(dot == std::string_view::npos ? s : s.substr(0, dot));
}

std::string Get_PraePost(std::string_view s) {
  auto cut = s.rfind('\\');
  if (cut == std::string_view::npos) cut = s.rfind(':');
  return std::string(cut == std::string_view::npos ? s : s.substr(cut + 1));
}

std::string UCase(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    c = AnsiUpper(c);
  return out;
}

std::string LCase(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    c = AnsiLower(c);
  return out;
}

bool TextEqual(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return AnsiUpper(x) == AnsiUpper(y); });
}

bool TextContains(std::string_view s, std::string_view part) noexcept {
  const auto it = std::search(s.begin(), s.end(), part.begin(), part.end(),
                              [](char x, char y) { return AnsiUpper(x) == AnsiUpper(y); });
  return it != s.end() || part.empty();
}

bool HasControlCharacter(std::string_view s) noexcept {
  for (const char c : s) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F) return true;
  }
  return false;
}

double Val(std::string_view s) noexcept {
  std::size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n'))
    ++i;
  std::string number;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number.push_back(s[i++]);
  bool digits = false;
  bool point = false;
  for (; i < s.size(); ++i) {
    const char c = s[i];
    if (std::isdigit(static_cast<unsigned char>(c)) != 0) {
      digits = true;
      number.push_back(c);
    } else if (c == '.' && !point) {
      point = true;
      number.push_back(c);
    } else {
      break;
    }
  }
  if (!digits) return 0.0;
  // An exponent counts only when digits follow it: "12e" is 12.
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    std::size_t j = i + 1;
    std::string exponent = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exponent.push_back(s[j++]);
    const std::size_t exp_digits_start = j;
    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j])) != 0 &&
           j - exp_digits_start < 6) {
      exponent.push_back(s[j++]);
    }
    if (j > exp_digits_start) number += exponent;
  }
  const double value = std::strtod(number.c_str(), nullptr);
  return std::isfinite(value) ? value : 0.0;
}

WildcardPattern::WildcardPattern(std::string_view pattern, bool sets) {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (c == '*') {
      // Runs of "*" behave like one; keeping one makes backtracking linear.
      if (tokens_.empty() || tokens_.back().kind != Kind::kStar) {
        tokens_.push_back({Kind::kStar, 0, 0});
      }
    } else if (c == '?') {
      tokens_.push_back({Kind::kAny, 0, 0});
    } else if (c == '[' && sets && pattern.find(']', i + 1) != std::string_view::npos) {
      const auto close = pattern.find(']', i + 1);
      std::string_view body = pattern.substr(i + 1, close - i - 1);
      i = close;
      if (body.empty()) continue;  // "[]" matches the empty text
      const bool negate = body.front() == '!';
      if (negate) body.remove_prefix(1);
      std::array<bool, 256> member{};
      for (std::size_t k = 0; k < body.size(); ++k) {
        const auto lo = static_cast<unsigned char>(AnsiUpper(body[k]));
        auto hi = lo;
        if (k + 2 < body.size() && body[k + 1] == '-') {
          hi = static_cast<unsigned char>(AnsiUpper(body[k + 2]));
          k += 2;
        }
        // Every byte whose capital lies in the range: the capital itself
        // and its small letter.
        for (unsigned u = lo; u <= hi; ++u) {
          if (AnsiUpper(static_cast<char>(u)) != static_cast<char>(u)) continue;
          member[u] = true;
          member[static_cast<unsigned char>(AnsiLower(static_cast<char>(u)))] = true;
        }
      }
      if (negate) {
        for (bool& m : member)
          m = !m;
      }
      sets_.push_back(member);
      tokens_.push_back({Kind::kSet, 0, static_cast<std::uint32_t>(sets_.size() - 1)});
    } else {
      tokens_.push_back({Kind::kChar, AnsiUpper(c), 0});
    }
  }
}

bool WildcardPattern::TokenMatches(const Token& token, char c) const noexcept {
  switch (token.kind) {
    case Kind::kChar:
      return token.folded == AnsiUpper(c);
    case Kind::kAny:
      return true;
    case Kind::kSet:
      return sets_[token.set_index][static_cast<unsigned char>(c)];
    case Kind::kStar:
      break;
  }
  return false;
}

bool WildcardPattern::Matches(std::string_view text) const noexcept {
  // Greedy match with backtracking to the last "*": each "*" resumes at most
  // once per text position, so the cost stays O(text x pattern).
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t star_p = std::string::npos;
  std::size_t star_t = 0;
  while (t < text.size()) {
    if (p < tokens_.size() && tokens_[p].kind == Kind::kStar) {
      star_p = p++;
      star_t = t;
    } else if (p < tokens_.size() && TokenMatches(tokens_[p], text[t])) {
      ++p;
      ++t;
    } else if (star_p != std::string::npos) {
      p = star_p + 1;
      t = ++star_t;
    } else {
      return false;
    }
  }
  while (p < tokens_.size() && tokens_[p].kind == Kind::kStar)
    ++p;
  return p == tokens_.size();
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  for (;;) {
    const auto cut = text.find(separator, start);
    parts.push_back(text.substr(start, cut == std::string_view::npos ? cut : cut - start));
    if (cut == std::string_view::npos) return parts;
    start = cut + 1;
  }
}

std::string TrimRight(std::string_view s) {
  return std::string(s.substr(0, s.find_last_not_of(' ') + 1));
}

bool ParseInt(std::string_view text, int& value) noexcept {
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size() && !text.empty();
}

bool Like(std::string_view text, std::string_view pattern) {
  return WildcardPattern(pattern).Matches(text);
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    const auto end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + ((text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1);
  }
  return lines;
}

}  // namespace tarv
