// Pictures of pages, put together on one sheet.
#ifndef KAVEPUB_CONTACT_SHEET_H
#define KAVEPUB_CONTACT_SHEET_H

#include <cstdint>
#include <filesystem>
#include <vector>

// A picture of 3 bytes a pixel: red, green, blue.
struct Picture {
  size_t width = 0;
  size_t height = 0;
  std::vector<std::uint8_t> pixels;
};

// Reads a binary PPM file ("P6", 8 bits). Throws a Failure when it is none.
Picture ReadPpm(const std::filesystem::path& file);

// The pages in rows, on grey ground.
Picture ComposeSheet(const std::vector<Picture>& pages);

// Throws a Failure when the file cannot be written.
void WritePng(const Picture& picture, const std::filesystem::path& file);

#endif
