#include "platform/NameLookup.h"

#include <arpa/inet.h>
#include <netdb.h>

namespace corva::platform {

namespace {

class SystemNameLookup : public NameLookup {
public:
    std::string ipv4Address(const std::string& host) override {
        addrinfo hints{};
        hints.ai_family = AF_INET;
        addrinfo* found = nullptr;
        if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) return {};
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, text,
                  sizeof text);
        freeaddrinfo(found);
        return text;
    }
};

} // namespace

NameLookup& systemNameLookup() {
    static SystemNameLookup lookup;
    return lookup;
}

} // namespace corva::platform
