// One leaf part of a message as the MIME reader leaves it: a flat record, since
// the reader keeps no tree and a nested multipart only adds more leaves.
#pragma once

#include <string>

namespace corva {

class clsMimeType {
public:
    std::string ContentType; // lower case, without parameters
    std::string Content;
    std::string SectionName; // the attachment's file name, "" for a body part
    std::string Encoding;    // lower case; "" once the content has been decoded
    long Size = 0;           // length of Content
};

} // namespace corva
