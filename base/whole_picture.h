// Whether a picture is all there.
#ifndef KAV_BASE_WHOLE_PICTURE_H
#define KAV_BASE_WHOLE_PICTURE_H

#include <string_view>

// Walks through the parts of a JPEG, PNG or GIF file, without decoding them: false when it is cut
// off, or its parts do not fit together, or it is of another kind.
bool IsWholePicture(std::string_view file);

#endif
