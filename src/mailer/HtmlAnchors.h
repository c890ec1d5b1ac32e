// The links of an HTML part with the text a reader sees on them, so that a
// link whose text names one site while it leads to another can be pointed out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corva {

struct HtmlAnchor {
    std::string href; // the target as written, entities undone
    std::string text; // the visible text, tags removed, blanks folded
};

// Every <a ... href=...> ... </a> in the text, in order. Loose on purpose:
// unquoted and single-quoted values, upper case, and an anchor left open at
// the end are all read.
std::vector<HtmlAnchor> findAnchors(std::string_view html);

// The host of a link ("https://user@Www.Bank.com:443/x" -> "www.bank.com"),
// lower case; "" when it has none (mailto:, relative links).
std::string linkHost(std::string_view url);

// The host a link's visible text names, when the text is itself a link or a
// bare host name ("www.bank.com", "bank.com/login"); "" otherwise.
std::string hostNamedIn(std::string_view text);

struct MisleadingLink {
    std::string shownHost;
    std::string targetHost;
};

// Anchors whose text names another host than their target. A target on a
// sub-domain of the host named ("bank.com" -> "secure.bank.com") and a "www."
// in front of either are not counted as other hosts.
std::vector<MisleadingLink> misleadingLinks(std::string_view html);

} // namespace corva
