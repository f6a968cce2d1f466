// Draws a cover: title and author on a coloured ground, with an ornament. The title decides on the
// colour and the ornament, so that the books of a shelf differ and a book keeps its cover.
#include "edition/cover/draw_cover.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <mutex>
#include <numbers>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edition/cover/png_file.h"

namespace {

constexpr int kWidth = 900;
constexpr int kHeight = 1200;
constexpr double kFrame = 36;    // from the edge
constexpr double kFrameGap = 9;  // between its two lines
constexpr double kTextWidth = 680;
constexpr double kTitleTop = 190;
constexpr double kTitleHeight = 470;
constexpr double kRuleWidth = 120;
constexpr double kRuleGap = 48;  // between title, rule and author
constexpr double kAuthorHeight = 150;
constexpr double kAuthorSize = 42;  // of letters, in pixels
constexpr double kTitleSizes[] = {104, 92, 80, 70, 62, 54, 47, 40};
constexpr double kOrnament = 0.17;    // its strength
constexpr size_t kMostLetters = 400;  // of a text; more would not be legible

constexpr char kFont[] = "serif";

constexpr Colour kInk = {0xF6, 0xEE, 0xDF};
constexpr Colour kGrounds[] = {
    {0x1F, 0x3A, 0x5F}, {0x6B, 0x22, 0x30}, {0x23, 0x4F, 0x3A}, {0x46, 0x29, 0x4A},
    {0x1D, 0x4E, 0x56}, {0x5A, 0x3A, 0x22}, {0x37, 0x42, 0x4F}, {0x4A, 0x4B, 0x23},
    {0x7A, 0x36, 0x1D}, {0x2A, 0x2D, 0x4A}, {0x5B, 0x2A, 0x4F}, {0x2B, 0x4A, 0x6F},
};

struct Free {
  void operator()(cairo_surface_t* owned) const { cairo_surface_destroy(owned); }
  void operator()(cairo_t* owned) const { cairo_destroy(owned); }
  void operator()(PangoContext* owned) const { g_object_unref(owned); }
  void operator()(PangoFontMap* owned) const { g_object_unref(owned); }
  void operator()(PangoLayout* owned) const { g_object_unref(owned); }
  void operator()(PangoFontDescription* owned) const { pango_font_description_free(owned); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Free>;

// The fonts of the system, lent to one cover at a time. What is found out about them takes longer
// than to draw a cover, and starts a thread for each size of letters; so it is kept.
class Fonts {
 public:
  Fonts() : map(TakeIdle()) {
    if (!map) map.reset(pango_cairo_font_map_new());
  }
  ~Fonts() {
    try {
      const std::lock_guard<std::mutex> lock(guard);
      Idle().push_back(std::move(map));
    } catch (...) {  // then the next cover finds it out anew
    }
  }
  Fonts(const Fonts&) = delete;
  Fonts& operator=(const Fonts&) = delete;

  PangoFontMap* Map() const { return map.get(); }

 private:
  // They stay to the end: the libraries below may have gone before this one.
  static std::vector<Owned<PangoFontMap>>& Idle() {
    static auto& idle = *new std::vector<Owned<PangoFontMap>>;
    return idle;
  }
  static Owned<PangoFontMap> TakeIdle() {
    const std::lock_guard<std::mutex> lock(guard);
    if (Idle().empty()) return nullptr;
    Owned<PangoFontMap> taken = std::move(Idle().back());
    Idle().pop_back();
    return taken;
  }

  static inline std::mutex guard;
  Owned<PangoFontMap> map;
};

// FNV-1a: the same on every machine.
std::uint32_t HashOf(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char letter : text) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
  }
  return hash ^ hash >> 15;
}

Palette PaletteOf(std::uint32_t hash) {
  const Colour& ground = kGrounds[hash % std::size(kGrounds)];
  Palette palette{};
  for (size_t step = 0; step < palette.size(); ++step) {
    const auto mix = [&](std::uint8_t from, std::uint8_t to) {
      const int last = static_cast<int>(palette.size()) - 1;
      return static_cast<std::uint8_t>(from + (to - from) * static_cast<int>(step) / last);
    };
    palette[step] = {mix(ground.red, kInk.red), mix(ground.green, kInk.green),
                     mix(ground.blue, kInk.blue)};
  }
  return palette;
}

// Whole letters from the beginning of a text.
std::string Shortened(const char* text) {
  const std::string_view whole(text);
  size_t end = 0;
  for (size_t letters = 0; end < whole.size() && letters < kMostLetters; ++letters) {
    do {
      ++end;
    } while (end < whole.size() && (static_cast<unsigned char>(whole[end]) & 0xC0U) == 0x80U);
  }
  return std::string(whole.substr(0, end));
}

void DrawArcs(cairo_t* drawing, double side) {
  for (int radius = 80; radius < kHeight * 0.4; radius += 34) {
    cairo_arc(drawing, side, kHeight, radius, 0, 2 * std::numbers::pi);
    cairo_stroke(drawing);
  }
}

void DrawWaves(cairo_t* drawing, double side) {
  constexpr int kStep = 25;
  for (int top = kHeight * 72 / 100; top < kHeight + 30; top += 26) {
    for (int x = 0; x <= kWidth; x += kStep) {
      cairo_line_to(drawing, x, top + 16 * std::sin((x + side + top * 1.7) / 70));
    }
    cairo_stroke(drawing);
  }
}

void DrawHills(cairo_t* drawing, double side) {
  for (int hill = 0; hill < 3; ++hill) {
    const double peak = std::fmod(side + hill * 310, kWidth);
    const double top = kHeight * (0.70 + 0.07 * hill);
    cairo_move_to(drawing, peak - 620, kHeight);
    cairo_line_to(drawing, peak, top);
    cairo_line_to(drawing, peak + 620, kHeight);
    cairo_fill(drawing);
  }
}

void DrawSun(cairo_t* drawing, double side) {
  constexpr double kSunTop = kHeight * 0.8;
  const double middle = kWidth / 2.0;
  cairo_arc(drawing, middle, kSunTop, 96, 0, 2 * std::numbers::pi);
  cairo_fill(drawing);
  const int rays = 24 + static_cast<int>(side) % 12;
  for (int ray = 0; ray < rays; ++ray) {
    const double angle = 2 * std::numbers::pi * ray / rays;
    cairo_move_to(drawing, middle + 118 * std::cos(angle), kSunTop + 118 * std::sin(angle));
    cairo_line_to(drawing, middle + 168 * std::cos(angle), kSunTop + 168 * std::sin(angle));
  }
  cairo_stroke(drawing);
}

void DrawOrnament(cairo_t* drawing, std::uint32_t hash) {
  constexpr void (*kOrnaments[])(cairo_t*, double) = {DrawArcs, DrawWaves, DrawHills, DrawSun};
  cairo_save(drawing);
  cairo_rectangle(drawing, kFrame, kFrame, kWidth - 2 * kFrame, kHeight - 2 * kFrame);
  cairo_clip(drawing);
  cairo_set_source_rgba(drawing, 1, 1, 1, kOrnament);
  cairo_set_line_width(drawing, 5);
  const auto choice = static_cast<std::uint32_t>(hash / std::size(kGrounds));
  kOrnaments[choice % std::size(kOrnaments)](drawing, choice / 4 % kWidth);
  cairo_restore(drawing);
}

void DrawFrame(cairo_t* drawing) {
  for (const auto& [inset, line] : {std::pair{kFrame, 4.0}, std::pair{kFrame + kFrameGap, 1.5}}) {
    cairo_set_line_width(drawing, line);
    cairo_rectangle(drawing, inset, inset, kWidth - 2 * inset, kHeight - 2 * inset);
    cairo_stroke(drawing);
  }
}

void SetWidth(PangoLayout* layout, double width) {
  pango_layout_set_width(layout, static_cast<int>(width * PANGO_SCALE));
}

double WidthOf(PangoLayout* layout) {
  return static_cast<double>(pango_layout_get_width(layout)) / PANGO_SCALE;
}

Owned<PangoLayout> LayoutOf(PangoContext* context, const std::string& text) {
  Owned<PangoLayout> layout(pango_layout_new(context));
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  pango_layout_set_alignment(layout.get(), PANGO_ALIGN_CENTER);
  SetWidth(layout.get(), kTextWidth);
  pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD);
  return layout;
}

void SetSize(PangoLayout* layout, double size) {
  const Owned<PangoFontDescription> font(pango_font_description_from_string(kFont));
  pango_font_description_set_absolute_size(font.get(), size * PANGO_SCALE);
  pango_layout_set_font_description(layout, font.get());
}

double HeightOf(PangoLayout* layout) {
  int height = 0;
  pango_layout_get_pixel_size(layout, nullptr, &height);
  return height;
}

bool Fits(PangoLayout* layout, double height) {
  int actualWidth = 0;
  int actualHeight = 0;
  pango_layout_get_pixel_size(layout, &actualWidth, &actualHeight);
  return actualWidth <= WidthOf(layout) && actualHeight <= height;
}

// What does not fit even so ends with dots; words that are too long are broken.
void Confine(PangoLayout* layout, double height) {
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
  pango_layout_set_height(layout, static_cast<int>(height * PANGO_SCALE));
}

// Makes lines of like length: as narrow as the text can be without one more of them.
void Balance(PangoLayout* layout) {
  constexpr double kPrecision = 16;
  const int lines = pango_layout_get_line_count(layout);
  double wide = kTextWidth;
  double narrow = kTextWidth / 2;
  while (lines > 1 && wide - narrow > kPrecision) {
    const double middle = (wide + narrow) / 2;
    SetWidth(layout, middle);
    const bool isEnough =
        pango_layout_get_line_count(layout) == lines && Fits(layout, kTitleHeight);
    (isEnough ? wide : narrow) = middle;
  }
  SetWidth(layout, wide);
}

// The largest size with which the title has room, found by halving.
void FitTitle(PangoLayout* layout) {
  const auto* size =
      std::partition_point(std::begin(kTitleSizes), std::end(kTitleSizes), [&](double candidate) {
        SetSize(layout, candidate);
        return !Fits(layout, kTitleHeight);
      });
  const bool hasRoom = size != std::end(kTitleSizes);
  SetSize(layout, hasRoom ? *size : *std::prev(size));
  if (hasRoom) {
    Balance(layout);
  } else {
    Confine(layout, kTitleHeight);
  }
}

void ShowAt(cairo_t* drawing, PangoLayout* layout, double top) {
  cairo_move_to(drawing, (kWidth - WidthOf(layout)) / 2, top);
  pango_cairo_show_layout(drawing, layout);
}

void DrawTexts(cairo_t* drawing, const kavepub_cover_texts& texts, const Fonts& fonts) {
  const Owned<PangoContext> context(pango_font_map_create_context(fonts.Map()));
  pango_context_set_language(context.get(), pango_language_from_string(texts.language));
  pango_cairo_update_context(drawing, context.get());
  const Owned<PangoLayout> title = LayoutOf(context.get(), Shortened(texts.title));
  FitTitle(title.get());
  const double titleHeight = HeightOf(title.get());
  // A short title hangs a little above the middle of its room.
  const double top = kTitleTop + (kTitleHeight - titleHeight) * 0.4;
  ShowAt(drawing, title.get(), top);
  if (*texts.author == '\0') return;

  const double rule = top + titleHeight + kRuleGap;
  cairo_set_line_width(drawing, 3);
  cairo_move_to(drawing, (kWidth - kRuleWidth) / 2, rule);
  cairo_rel_line_to(drawing, kRuleWidth, 0);
  cairo_stroke(drawing);
  const Owned<PangoLayout> author = LayoutOf(context.get(), Shortened(texts.author));
  SetSize(author.get(), kAuthorSize);
  Confine(author.get(), kAuthorHeight);
  ShowAt(drawing, author.get(), rule + kRuleGap);
}

// Pango would complain on the console of the host.
bool IsEmpty(const Fonts& fonts) {
  int count = 0;
  PangoFontFamily** families = nullptr;
  pango_font_map_list_families(fonts.Map(), &families, &count);
  g_free(families);
  return count == 0;
}

bool Draw(const kavepub_cover_texts& texts, std::string& file) {
  const Fonts fonts;
  if (IsEmpty(fonts)) return false;
  const Owned<cairo_surface_t> surface(
      cairo_image_surface_create(CAIRO_FORMAT_A8, kWidth, kHeight));
  const Owned<cairo_t> drawing(cairo_create(surface.get()));
  const std::uint32_t hash = HashOf(texts.title);
  DrawOrnament(drawing.get(), hash);
  cairo_set_source_rgba(drawing.get(), 1, 1, 1, 1);
  DrawFrame(drawing.get());
  DrawTexts(drawing.get(), texts, fonts);
  if (cairo_status(drawing.get()) != CAIRO_STATUS_SUCCESS) return false;
  cairo_surface_flush(surface.get());
  file =
      PngFile(cairo_image_surface_get_data(surface.get()), kWidth, kHeight,
              static_cast<size_t>(cairo_image_surface_get_stride(surface.get())), PaletteOf(hash));
  return true;
}

}  // namespace

int kavepub_draw_cover_v0(const kavepub_cover_texts* texts, kavepub_cover_callback take,
                          void* user) {
  try {
    std::string file;
    if (!Draw(*texts, file)) return 1;
    take(user, file.data(), file.size());
    return 0;
  } catch (...) {
    return 1;
  }
}
