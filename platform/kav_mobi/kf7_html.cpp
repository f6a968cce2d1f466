// The old format: one document, whose links name a byte of it and whose pictures a record.
#include <charconv>

#include "platform/kav_mobi/markup.h"

namespace kav_mobi {
namespace {

// A decimal number with any zeros before it; none for text that begins with no digit.
std::optional<size_t> Decimal(Bytes text) {
  size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return number;
}

class Kf7Markup final : public Markup {
 public:
  explicit Kf7Markup(Bytes bookText) : text(bookText) {}

  Bytes Text() const override { return text; }

  size_t DocumentStart(size_t /*position*/) const override { return 0; }

  std::optional<size_t> LinkTarget(const Attributes& attributes) const override {
    const std::optional<size_t> position = Decimal(attributes.Get("filepos"));
    return position && *position <= text.size() ? position : std::nullopt;
  }

  size_t PictureNumber(const Attributes& attributes) const override {
    // A picture with versions of several qualities names the best one first.
    for (const Bytes name : {Bytes("hirecindex"), Bytes("recindex"), Bytes("lowrecindex")}) {
      if (const std::optional<size_t> number = Decimal(attributes.Get(name))) return *number;
    }
    return 0;
  }

  Bytes Drawing(const Attributes& /*attributes*/) const override { return {}; }

 private:
  Bytes text;
};

}  // namespace

std::unique_ptr<Markup> MakeKf7Markup(const Book& book) {
  return std::make_unique<Kf7Markup>(book.Documents().front());
}

}  // namespace kav_mobi
