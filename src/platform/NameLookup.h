// Host names to addresses. The logic asks through this interface so that it
// needs no resolver headers and tests can answer without a network.
#pragma once

#include <string>

namespace corva::platform {

class NameLookup {
public:
    virtual ~NameLookup() = default;
    // The first IPv4 address of a host in dotted form, or "" when it has none.
    // Blocks while the resolver works.
    virtual std::string ipv4Address(const std::string& host) = 0;
};

// The system's resolver.
NameLookup& systemNameLookup();

} // namespace corva::platform
