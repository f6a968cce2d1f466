// Takes references apart, and puts paths together.
#include "edition/page/reference.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "edition/page/host.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kHex = "0123456789ABCDEF";

// Those that people follow from a page, and that are registered.
constexpr std::string_view kSchemes[] = {"ftp",    "geo",  "http", "https", "irc",
                                         "mailto", "news", "sip",  "sms",   "tel"};
constexpr std::string_view kWithHost[] = {"ftp", "http", "https"};

constexpr std::string_view kBeforeHost = "//";

constexpr std::string_view kPlain = "-._~!$&'()*+,;=:@/?";

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && HexDigit(text[1]) >= 0 && HexDigit(text[2]) >= 0;
}

// Browsers drop line ends and tabs wherever they stand.
std::string Folded(std::string_view written) {
  const size_t begin = std::min(written.find_first_not_of(kBlanks), written.size());
  written.remove_prefix(begin);
  std::string folded;
  for (const char c : written.substr(0, written.find_last_not_of(kBlanks) + 1)) {
    if (c != '\n' && c != '\r' && c != '\t') folded += c;
  }
  return folded;
}

std::string SchemeOf(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || colon > text.find_first_of("/?#")) return {};
  const std::string_view scheme = text.substr(0, colon);
  const bool isSound = std::all_of(scheme.begin(), scheme.end(), [](char c) {
    return IsAlphanumeric(c) || c == '+' || c == '-' || c == '.';
  });
  return isSound ? Lowered(scheme) : std::string();
}

std::string Escaped(std::string_view uri) {
  std::string escaped;
  bool hasFragment = false;
  for (size_t at = 0; at < uri.size(); ++at) {
    const char c = uri[at];
    const bool isMark = c == '#' && !hasFragment;
    hasFragment = hasFragment || isMark;
    if (IsAlphanumeric(c) || kPlain.find(c) != std::string_view::npos || isMark ||
        IsEscape(uri.substr(at))) {
      escaped += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    escaped.append(1, '%').append(1, kHex[byte >> 4]).append(1, kHex[byte & 0xF]);
  }
  return escaped;
}

// What follows a scheme that has a host; empty where it has none.
std::string EscapedWithHost(std::string_view written) {
  if (!written.starts_with(kBeforeHost)) return {};
  written.remove_prefix(kBeforeHost.size());
  const std::string_view authority = written.substr(0, written.find_first_of("/?#"));
  const size_t hostBegin = authority.find('@') + 1;  // npos + 1 is 0
  const size_t colon = std::min(authority.find(':', hostBegin), authority.size());
  const std::string host = HostOfNet(authority.substr(hostBegin, colon - hostBegin));
  const std::string_view port = authority.substr(colon);
  if (host.empty() || port.find_first_not_of(kDigits, 1) != std::string_view::npos) return {};
  std::string escaped(kBeforeHost);
  escaped.append(Escaped(authority.substr(0, hostBegin))).append(host).append(port);
  return escaped.append(Escaped(written.substr(authority.size())));
}

Reference OfScheme(const std::string& scheme, const std::string& written) {
  if (scheme == "data") return {Reference::Kind::kData, written, {}};
  if (!IsOneOf(kSchemes, scheme)) return {};
  const std::string_view rest = std::string_view(written).substr(scheme.size() + 1);
  const std::string escaped = IsOneOf(kWithHost, scheme) ? EscapedWithHost(rest) : Escaped(rest);
  if (escaped.empty()) return {};
  return {Reference::Kind::kNet, scheme + ":" + escaped, {}};
}

// Nothing outside the root.
bool Join(std::string_view base, std::string_view path, std::string& joined) {
  std::vector<std::string_view> steps;
  const auto walk = [&](std::string_view way) {
    while (!way.empty()) {
      const std::string_view step = way.substr(0, way.find('/'));
      way.remove_prefix(std::min(step.size() + 1, way.size()));
      if (step.empty() || step == ".") continue;
      if (step != "..") {
        steps.push_back(step);
      } else if (steps.empty()) {
        return false;
      } else {
        steps.pop_back();
      }
    }
    return true;
  };
  if (!walk(base.substr(0, base.rfind('/') + 1)) || !walk(path)) return false;  // npos + 1 is 0
  joined.clear();
  for (const std::string_view step : steps) joined.append(joined.empty() ? "" : "/").append(step);
  if (path.ends_with('/') && !joined.empty()) joined += '/';
  return true;
}

}  // namespace

Reference Resolve(std::string_view written, std::string_view base) {
  const std::string folded = Folded(written);
  const std::string scheme = SchemeOf(folded);
  if (!scheme.empty()) return OfScheme(scheme, folded);
  std::string_view rest = folded;
  if (rest.starts_with("//")) return OfScheme("https", "https:" + folded);
  if (rest.starts_with('/') || rest.starts_with('\\')) return {};
  Reference reference{Reference::Kind::kFile, {}, {}};
  const size_t mark = std::min(rest.find('#'), rest.size());
  reference.fragment = rest.substr(std::min(mark + 1, rest.size()));
  rest = rest.substr(0, mark);
  rest = rest.substr(0, rest.find('?'));
  if (rest.empty()) {
    reference.target = base;
  } else if (!Join(base, rest, reference.target)) {
    return {};
  }
  return reference;
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  for (size_t at = 0; at < text.size(); ++at) {
    if (IsEscape(text.substr(at))) {
      plain += static_cast<char>(HexDigit(text[at + 1]) * 16 + HexDigit(text[at + 2]));
      at += 2;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

std::string XmlIdOf(std::string_view id) {
  std::string made;
  for (const char c : id) {
    const bool isPlain = IsAlphanumeric(c) || c == '-' || c == '_' || c == '.';
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain) {
      made += c;
    } else {
      made.append(1, '_').append(1, kHex[byte >> 4]).append(1, kHex[byte & 0xF]);
    }
  }
  const bool beginsWell = !made.empty() && (IsAlphanumeric(made.front()) || made.front() == '_') &&
                          !(made.front() >= '0' && made.front() <= '9');
  return beginsWell || made.empty() ? made : "_" + made;
}
