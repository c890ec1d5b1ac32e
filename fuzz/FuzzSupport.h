// What the fuzz targets share: a private program folder that is removed at
// exit, and ways to cut one input into the several texts a target needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corva::fuzz {

// The program folder of this run (ends in "/"), mode 0700, with Messages/.
// Everything a target writes goes below it.
const std::string& folder();

// Writes the bytes to a file below folder() and returns its path.
std::string writeFile(const std::string& name, std::string_view bytes);

std::string_view asText(const uint8_t* data, size_t size);

// The input cut at each separator, at most maxPieces pieces: the last piece
// keeps the rest, separators and all.
std::vector<std::string_view> split(std::string_view input, std::string_view separator,
                                    size_t maxPieces = SIZE_MAX);

} // namespace corva::fuzz
