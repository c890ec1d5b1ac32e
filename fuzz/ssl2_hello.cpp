// The SSL 2.0 client reading what a server sends after its hello: records cut
// anywhere, lengths that lie, certificates without a key. The first byte is
// the size of the pieces the stream arrives in (0: all at once).
#include "FuzzSupport.h"
#include "ScriptedNet.h"

#include "smtp/frmSendMailSSL.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

class Quiet : public corva::frmSendMailSSLListener {
public:
    void SSLConnect() override {}
    void SSLClose() override {}
    void SSLData(const std::string&) override {}
    void SSLError(const std::string&, int) override {}
    void SSLConnecting() override {}
    void SSLSendingData(const std::string&) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    if (size < 1) return 0;
    std::string_view stream = fuzz::asText(data + 1, size - 1);
    const size_t piece = data[0] ? data[0] : stream.size() + 1;
    std::vector<std::string> replies;
    for (size_t at = 0; at < stream.size(); at += piece)
        replies.emplace_back(stream.substr(at, piece));

    fuzz::ScriptedNet net(std::move(replies));
    Quiet quiet;
    frmSendMailSSL ssl;
    ssl.setListener(&quiet);
    ssl.ConnectSSL("smtp.corva.example", 465);
    for (int steps = 0; steps < 10000 && net.step(); ++steps) {
        if (steps == 2) (void)ssl.SendSSL("EHLO corva.example\r\n");
    }
    ssl.CloseSSL();
    ssl.TearDown();
    return 0;
}
