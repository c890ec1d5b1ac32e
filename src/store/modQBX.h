// The .qbx container: a folder's messages packed into one file, each followed
// by LF "." CR LF, with an .idx index of 12-byte records. Only the combine
// command writes one; a folder listing reads the headers back through the index.
#pragma once

#include "message/clsMessages.h"

#include <cstdint>
#include <string>

namespace corva {

// One index record, little-endian on disk.
struct QBXIndexRecord {
    int32_t QBXFileLoc = 0;    // 1-based start of the message in the container
    int32_t QBXFileEndLoc = 0; // its end
    int16_t Unread = 0;        // -1 unread, 0 read
    int16_t Reserved = 0;
};
inline constexpr long QBXIndexRecordSize = 12;
inline constexpr const char* QBXSeparator = "\n.\r\n";

// The file name with its extension replaced (".idx", ".qbx").
std::string withextension(const std::string& path, const std::string& extension);

// Packs the folder's .eml files into destination and writes its index.
void CombineToQBXFile(const std::string& folder, const std::string& destination, bool append);
void WriteQBXIndex(const std::string& destination);
// The container's messages, header only, with their positions.
void SplitEmails(const std::string& path, clsMessages& collection);
// The messages the index points at, header only. The last message of a
// container has no following record to bound it and is left out.
void LoadQBXIndex(const std::string& indexPath, clsMessages& collection);

} // namespace corva
