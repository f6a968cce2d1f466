// Copies the text but for tags and marks, and notes where bookmarks are in the copy.
#include "edition/mobi/palm_text.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "base/mobi/bytes.h"
#include "base/mobi/tags.h"

namespace {

constexpr size_t kLongestPalmTag = 256;
constexpr size_t kLongestPalmHeading = 120;  // in bytes
constexpr size_t kFewestBookmarks = 2;       // fewer are no contents

// A record of a bookmark: its name, filled up with zeros, and a place in the text.
constexpr size_t kBookmarkSize = 20;
constexpr size_t kBookmarkPlaceAt = 16;

constexpr size_t kLongestMark = 24;
constexpr std::string_view kPause = "* * *";

struct Bookmark {
  size_t position;
  std::string name;  // a line of its own where the text has none
};

enum class TagUse { kDropped, kLine, kText, kBookmark, kRule };

constexpr struct {
  std::string_view name;
  TagUse use;
} kTags[] = {
    {"BOOKMARK", TagUse::kBookmark}, {"HEADER", TagUse::kLine}, {"HRULE", TagUse::kRule},
    {"LABEL", TagUse::kDropped},     {"LINK", TagUse::kText},   {"TEALPAINT", TagUse::kDropped},
};

const auto* FindTag(std::string_view name) {
  const auto* row = std::find_if(std::begin(kTags), std::end(kTags), [&](const auto& known) {
    return kav_mobi::SameName(known.name, name);
  });
  return row == std::end(kTags) ? nullptr : row;
}

std::string_view LineAt(std::string_view text, size_t position) {
  return text.substr(position, std::min(text.find('\n', position), text.size()) - position);
}

// Without blanks and ends of lines before it.
size_t SkipBlanks(std::string_view text, size_t position) {
  return std::min(text.find_first_not_of(" \t\r\n", position), text.size());
}

// Of "...\n<*>" the "*" that stands before each heading; empty for a text without one.
std::string_view MarkOf(std::string_view text) {
  text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
  const size_t begin = text.rfind('<');
  if (!text.ends_with('>') || begin == std::string_view::npos) return {};
  const std::string_view mark = text.substr(begin + 1, text.size() - begin - 2);
  const bool isMark = !mark.empty() && mark.size() <= kLongestMark && mark.front() != '/' &&
                      mark.find_first_of("\r\n") == std::string_view::npos;
  return isMark ? text.substr(begin) : std::string_view();
}

class Cleaner {
 public:
  explicit Cleaner(const kav_mobi::Book& source) : book(source) {
    text = book.Documents().front();
    // The last record may be filled up.
    text = text.substr(0, text.find_last_not_of('\0') + 1);
  }

  PalmText Clean() {
    ReadRecords();
    if (const std::string_view end = MarkOf(text); !end.empty()) TakeMark(end);
    Copy();
    return Finish();
  }

 private:
  void ReadRecords() {
    const MOBIPdbRecord* record = book.Data()->rec;
    for (size_t i = 0; record != nullptr; ++i, record = record->next) {
      const bool isBehind = i > book.Data()->rh->text_record_count;
      if (!isBehind || record->size != kBookmarkSize || record->data == nullptr) continue;
      const std::string_view bytes(reinterpret_cast<const char*>(record->data), record->size);
      const size_t position = kav_mobi::BigEndian32(bytes, kBookmarkPlaceAt);
      if (position < text.size()) places.push_back(position);
    }
    std::sort(places.begin(), places.end());
  }

  // One that never stands before a line is something else.
  void TakeMark(std::string_view end) {
    mark = end.substr(1, end.find('>') - 1);
    const std::string_view body = text.substr(0, text.size() - end.size());
    for (size_t at = 0; (at = body.find(mark, at)) != std::string_view::npos; at += mark.size()) {
      if (at == 0 || body[at - 1] == '\n' || body[at - 1] == '\r') marked.push_back(at);
    }
    if (marked.size() >= kFewestBookmarks) {
      text = body;
    } else {
      marked.clear();
    }
    // A word is of the heading, signs are not.
    isSign = std::none_of(mark.begin(), mark.end(), [](char c) {
      return std::isalnum(static_cast<unsigned char>(c)) != 0 || (c & 0x80) != 0;
    });
  }

  void Copy() {
    size_t place = 0;
    size_t sign = 0;
    for (size_t at = 0; at < text.size();) {
      for (; place < places.size() && places[place] <= at; ++place) Note({});
      if (sign < marked.size() && marked[sign] == at) {
        ++sign;
        Note({});
        if (isSign) {
          at += mark.size();
          continue;
        }
      }
      const size_t taken = text[at] == '<' ? TakeTag(at) : 0;
      if (taken == 0) PutByte(text[at], text.substr(at + 1));
      at += std::max<size_t>(taken, 1);
    }
  }

  void PutByte(char byte, std::string_view behind) {
    if (byte != '\r') {
      clean += byte;
    } else if (!behind.starts_with('\n')) {
      clean += '\n';
    }
  }

  void Note(std::string name) { bookmarks.push_back({clean.size(), std::move(name)}); }

  // How long the tag is; 0 for none that is known.
  size_t TakeTag(size_t at) {
    const std::string_view bytes = text.substr(at, kLongestPalmTag);
    kav_mobi::Tag tag;
    if (!kav_mobi::TagScanner(bytes).Next(tag) || tag.begin != 0) return 0;
    const auto* known = tag.kind == kav_mobi::TagKind::kStart ? FindTag(tag.name) : nullptr;
    if (known == nullptr) return 0;
    kav_mobi::Attributes attributes;
    attributes.Read(tag.attributes);
    switch (known->use) {
      case TagUse::kBookmark:
        Note(std::string(LineAt(attributes.Get("name"), 0)));
        break;
      case TagUse::kLine:
        PutLine(attributes.Get("text"), at + tag.end);
        break;
      case TagUse::kRule:
        PutLine(kPause, at + tag.end);
        break;
      case TagUse::kText:
        clean += attributes.Get("text");
        break;
      case TagUse::kDropped:
        break;
    }
    return tag.end;
  }

  void PutLine(std::string_view line, size_t behind) {
    if (!clean.empty() && clean.back() != '\n') clean += '\n';
    clean += line;
    if (behind < text.size() && text[behind] != '\n' && text[behind] != '\r') clean += '\n';
  }

  // The lines that bookmarks stand at, and names where that is too long for a heading.
  PalmText Finish() {
    PalmText made;
    size_t copied = 0;
    size_t line = std::string::npos;
    bool isLine = false;
    bool isShort = false;
    std::uint32_t lines = 0;
    const auto copyTo = [&](size_t end) {
      for (; copied < end; ++copied) {
        lines += clean[copied] == '\n' ? 1 : 0;
        made.text += clean[copied];
      }
    };
    for (const Bookmark& bookmark : bookmarks) {
      // Of bookmarks at one place, the first looks around it.
      if (line == std::string::npos || bookmark.position > line) {
        line = SkipBlanks(clean, bookmark.position);
        isLine = line < clean.size() && BeginsLine(line);
        isShort = isLine && LineAt(clean, line).size() <= kLongestPalmHeading;
      }
      if (!isLine || (!isShort && bookmark.name.empty())) continue;
      copyTo(line);
      if (!isShort) {
        made.text.append(bookmark.name).append("\n");
        made.headings.push_back(lines++);
      } else if (made.headings.empty() || made.headings.back() != lines) {
        made.headings.push_back(lines);
      }
    }
    copyTo(clean.size());
    if (made.headings.size() < kFewestBookmarks) made.headings.clear();
    return made;
  }

  bool BeginsLine(size_t position) const {
    while (position > 0 && (clean[position - 1] == ' ' || clean[position - 1] == '\t')) --position;
    return position == 0 || clean[position - 1] == '\n';
  }

  const kav_mobi::Book& book;
  std::string_view text;
  std::string_view mark;
  bool isSign = false;
  std::vector<size_t> places;  // of bookmarks, ascending
  std::vector<size_t> marked;  // where marks stand before lines
  std::string clean;
  std::vector<Bookmark> bookmarks;
};

}  // namespace

PalmText PalmTextOf(const kav_mobi::Book& book) {
  return Cleaner(book).Clean();
}
