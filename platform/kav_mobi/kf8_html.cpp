// The new format: documents assembled from fragments, whose links name a fragment and an offset in
// it.
#include <algorithm>
#include <charconv>

#include "base/mobi/metadata.h"
#include "platform/kav_mobi/markup.h"

namespace kav_mobi {
namespace {

constexpr Bytes kPositionPrefix = "kindle:pos:fid:";
constexpr Bytes kOffsetPrefix = ":off:";
constexpr Bytes kFlowPrefix = "kindle:flow:";
constexpr size_t kFragmentDigits = 4;

class Kf8Markup final : public Markup {
 public:
  explicit Kf8Markup(const Book& book) {
    for (const Bytes document : book.Documents()) {
      starts.push_back(text.size());
      text += document;
    }
    for (const MOBIPart* part = book.Raw()->flow; part != nullptr; part = part->next) {
      flows.push_back(part->data == nullptr
                          ? Bytes()
                          : Bytes(reinterpret_cast<const char*>(part->data), part->size));
    }
    ReadFragments(book.Raw()->frag);
  }

  Bytes Text() const override { return text; }

  size_t DocumentStart(size_t position) const override {
    return *std::prev(std::upper_bound(starts.begin(), starts.end(), position));
  }

  std::optional<size_t> LinkTarget(const Attributes& attributes) const override {
    const Bytes href = attributes.Get("href");
    if (!href.starts_with(kPositionPrefix)) return std::nullopt;
    const size_t fragment = KindleNumber(href, kPositionPrefix);
    const size_t offsetAt = kPositionPrefix.size() + kFragmentDigits;
    if (href.size() < offsetAt || fragment >= fragments.size()) return std::nullopt;
    const size_t offset = KindleNumber(href.substr(offsetAt), kOffsetPrefix);
    if (offset > text.size() || fragments[fragment] > text.size() - offset) return std::nullopt;
    return fragments[fragment] + offset;
  }

  size_t PictureNumber(const Attributes& attributes) const override {
    return KindleNumber(Source(attributes), kEmbedPrefix);
  }

  Bytes Drawing(const Attributes& attributes) const override {
    const size_t flow = KindleNumber(Source(attributes), kFlowPrefix);
    // Flow 0 is the text itself.
    return flow == 0 || flow >= flows.size() ? Bytes() : flows[flow];
  }

 private:
  static Bytes Source(const Attributes& attributes) {
    for (const Bytes name : {Bytes("src"), Bytes("xlink:href"), Bytes("href")}) {
      const Bytes value = attributes.Get(name);
      if (!value.empty()) return value;
    }
    return {};
  }

  // The label of a fragment is its place in the assembled text. One without a place is unreachable.
  void ReadFragments(const MOBIIndx* index) {
    if (index == nullptr) return;
    for (size_t i = 0; i < index->entries_count; ++i) {
      const Bytes label = index->entries[i].label == nullptr ? "" : index->entries[i].label;
      size_t place = 0;
      const auto [end, error] = std::from_chars(label.data(), label.data() + label.size(), place);
      fragments.push_back(error == std::errc() ? place : Bytes::npos);
    }
  }

  std::string text;
  std::vector<size_t> starts;
  std::vector<Bytes> flows;
  std::vector<size_t> fragments;
};

}  // namespace

std::unique_ptr<Markup> MakeKf8Markup(const Book& book) {
  return std::make_unique<Kf8Markup>(book);
}

}  // namespace kav_mobi
