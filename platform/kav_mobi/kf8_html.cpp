// The new format: documents assembled from fragments, whose links name a fragment and an offset in
// it.
#include <algorithm>
#include <charconv>

#include "markup.h"
#include "metadata.h"

namespace kav_mobi {
namespace {

constexpr Bytes kPositionPrefix = "kindle:pos:fid:";
constexpr Bytes kOffsetPrefix = ":off:";
constexpr Bytes kEmbedPrefix = "kindle:embed:";
constexpr Bytes kFlowPrefix = "kindle:flow:";
constexpr size_t kFragmentDigits = 4;

class Kf8Markup final : public Markup {
 public:
  explicit Kf8Markup(const Book& book) {
    for (const Bytes document : book.documents()) {
      starts_.push_back(text_.size());
      text_ += document;
    }
    for (const MOBIPart* part = book.raw()->flow; part != nullptr; part = part->next) {
      flows_.push_back(part->data == nullptr
                           ? Bytes()
                           : Bytes(reinterpret_cast<const char*>(part->data), part->size));
    }
    readFragments(book.raw()->frag);
  }

  Bytes text() const override { return text_; }

  size_t documentStart(size_t position) const override {
    return *std::prev(std::upper_bound(starts_.begin(), starts_.end(), position));
  }

  std::optional<size_t> linkTarget(const Attributes& attributes) const override {
    const Bytes href = attributes.get("href");
    if (!href.starts_with(kPositionPrefix)) return std::nullopt;
    const size_t fragment = kindleNumber(href, kPositionPrefix);
    const size_t offsetAt = kPositionPrefix.size() + kFragmentDigits;
    if (href.size() < offsetAt || fragment >= fragments_.size()) return std::nullopt;
    const size_t offset = kindleNumber(href.substr(offsetAt), kOffsetPrefix);
    if (offset > text_.size() || fragments_[fragment] > text_.size() - offset) return std::nullopt;
    return fragments_[fragment] + offset;
  }

  size_t pictureNumber(const Attributes& attributes) const override {
    return kindleNumber(source(attributes), kEmbedPrefix);
  }

  Bytes drawing(const Attributes& attributes) const override {
    const size_t flow = kindleNumber(source(attributes), kFlowPrefix);
    // Flow 0 is the text itself.
    return flow == 0 || flow >= flows_.size() ? Bytes() : flows_[flow];
  }

 private:
  static Bytes source(const Attributes& attributes) {
    for (const Bytes name : {Bytes("src"), Bytes("xlink:href"), Bytes("href")}) {
      const Bytes value = attributes.get(name);
      if (!value.empty()) return value;
    }
    return {};
  }

  // The label of a fragment is its place in the assembled text. One without a place is unreachable.
  void readFragments(const MOBIIndx* index) {
    if (index == nullptr) return;
    for (size_t i = 0; i < index->entries_count; ++i) {
      const Bytes label = index->entries[i].label == nullptr ? "" : index->entries[i].label;
      size_t place = 0;
      const auto [end, error] = std::from_chars(label.data(), label.data() + label.size(), place);
      fragments_.push_back(error == std::errc() ? place : Bytes::npos);
    }
  }

  std::string text_;
  std::vector<size_t> starts_;
  std::vector<Bytes> flows_;
  std::vector<size_t> fragments_;
};

}  // namespace

std::unique_ptr<Markup> makeKf8Markup(const Book& book) {
  return std::make_unique<Kf8Markup>(book);
}

}  // namespace kav_mobi
