// Whether a picture is all there.
#ifndef KAVEPUB_PICTURE_CHECK_H
#define KAVEPUB_PICTURE_CHECK_H

#include <filesystem>
#include <string_view>

// Walks through the parts of a picture, of the type ".jpg", ".png" or ".gif", without decoding
// them: false when it is cut off, or its parts do not fit together.
bool IsWholePicture(const std::filesystem::path& picture, std::string_view type);

#endif
