// The files of a ZIP container.
#ifndef KAVEPUB_UNPACKING_H
#define KAVEPUB_UNPACKING_H

#include <cstdint>
#include <filesystem>

// Unpacks all files of a container into an empty directory: none elsewhere, no links, none twice,
// and not more than so many bytes. Throws a Failure, NotWritten, or Interrupted.
void Unpack(const std::filesystem::path& container, const std::filesystem::path& directory,
            std::uint64_t room);

#endif
