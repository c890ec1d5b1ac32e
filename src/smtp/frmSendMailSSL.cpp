#include "smtp/frmSendMailSSL.h"

#include "core/ErrorHandler.h"
#include "localise/modLanguages.h"

#include <algorithm>

namespace corva {

namespace {

constexpr const char* Module = "frmSendMailSSL";
constexpr const char* WrongStateText =
    "Wrong protocol or connection state for the requested transaction or request.";
// Where the cipher can be had when it is missing: on this platform the legacy
// provider comes with libcrypto itself.
constexpr const char* CipherDownloadPage = "https://www.openssl.org/source/";

constexpr std::size_t MacLength = 16;
constexpr std::size_t ChallengeLength = 16;
// The DER start of a 1,024-bit RSA public key: SEQUENCE, INTEGER of 129 bytes
// with its leading zero. The modulus follows.
const std::string PublicKeyRun("\x30\x81\x89\x02\x81\x81\x00", 7);
constexpr std::size_t ModulusLength = 128;

std::string bytes(std::initializer_list<unsigned char> list) {
    return std::string(list.begin(), list.end());
}

unsigned byteAt(const std::string& s, std::size_t index) {
    return index < s.size() ? static_cast<unsigned char>(s[index]) : 0u;
}

std::string sequenceBytes(std::uint32_t n) {
    return bytes({static_cast<unsigned char>(n >> 24), static_cast<unsigned char>(n >> 16),
                  static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)});
}

std::string hexToBytes(const std::string& hex) {
    std::string out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return out;
}

} // namespace

// Client handshake. Records are read whole, the length of a record under way
// surviving between data events; each complete record is handled by the state
// it arrives in.
//
//   state               record             action                                  -> state
//   (connect event)     -                  send CLIENT-HELLO                       WaitServerHello
//   WaitServerHello     SERVER-HELLO       send CLIENT-MASTER-KEY                  WaitServerVerify
//   WaitServerVerify    SERVER-VERIFY      challenge differs: close the socket     (same)
//                                          MAC good: send CLIENT-FINISHED WaitServerFinished MAC
//                                          bad: send nothing more              (same)
//   WaitServerFinished  SERVER-FINISHED    MAC bad: close the socket               ApplicationData
//                                          MAC good                                ApplicationData
//   ApplicationData     data               MAC good: keep the data; bad: drop it   (same)
//   (close event)       -                  forget the handshake                    WaitServerHello
//
// Once the complete records of an event are handled: the first time
// ApplicationData is reached, SSLConnect; then SSLData with the kept data.
// An event that ends inside a record does neither; the next one will.

frmSendMailSSL::frmSendMailSSL() : socket_(platform::current().createSocket()) {
    socket_->setListener(this);
}

frmSendMailSSL::~frmSendMailSSL() {
    socket_->setListener(nullptr);
    socket_->close();
    TearDown();
}

bool frmSendMailSSL::Setup() {
    setupTried_ = true;
    return guardedValue("Setup", Module, false, [&] {
        if (crypto_.acquire()) return true;
        auto& platform = platform::current();
        auto answer = platform.prompts().messageBox(
            gettranslation("LHV has detected that you do not have the required High "
                           "Encryption Pack installed.") +
                "\n" + gettranslation("Would like to download this pack from Microsoft's website?"),
            platform::Buttons::YesNo, platform::Icon::Question);
        if (answer == platform::Answer::Yes) platform.shell().open(CipherDownloadPage);
        return false;
    });
}

void frmSendMailSSL::TearDown() {
    setupTried_ = false;
    writeKey_.destroy();
    readKey_.destroy();
    crypto_.release();
}

void frmSendMailSSL::ConnectSSL(const std::string& host, int port) {
    guarded("ConnectSSL", Module, [&] {
        // An owner that forgot the setup still gets a working session, but one
        // that was refused is not asked again.
        if (!setupTried_) Setup();
        socket_->close();
        pending_.clear();
        recordLength_ = 0;
        socket_->connect(host, port);
        if (listener_) listener_->SSLConnecting();
    });
}

std::optional<SSLFailure> frmSendMailSSL::SendSSL(const std::string& data) {
    if (socket_->state() != platform::SocketState::Connected) {
        SSLFailure failure{WrongStateError, WrongStateText};
        HandleError(RunError(failure.number, failure.description), "SendSSL", Module);
        return failure;
    }
    guarded("SendSSL", Module, [&] {
        if (listener_) listener_->SSLSendingData(data);
        writeRecords(data);
    });
    return std::nullopt;
}

void frmSendMailSSL::CloseSSL() {
    guarded("CloseSSL", Module, [&] {
        dropSocket();
        if (listener_) listener_->SSLClose();
    });
}

void frmSendMailSSL::setSequences(std::uint32_t send, std::uint32_t receive) {
    sendSequence_ = send;
    receiveSequence_ = receive;
}

void frmSendMailSSL::dropSocket() {
    socket_->close();
    pending_.clear();
    recordLength_ = 0;
}

void frmSendMailSSL::socketConnected() {
    guarded("wsSSL_Connect", Module, [&] {
        state_ = HandshakeState::WaitServerHello;
        readyReported_ = false;
        challenge_ = crypto_.randomBytes(ChallengeLength);
        sendSequence_ = 0;
        receiveSequence_ = 0;
        dataBuffer_.clear();
        // CLIENT-HELLO: version 2, one cipher kind (RC4 128 with MD5), no session id.
        clientHello_ =
            bytes({0x01, 0x00, 0x02, 0x00, 0x03, 0x00, 0x00, 0x00, 0x10, 0x01, 0x00, 0x80}) +
            challenge_;
        sendRecord(clientHello_);
    });
}

void frmSendMailSSL::socketClosed() {
    guarded("wsSSL_Close", Module, [&] {
        state_ = HandshakeState::WaitServerHello;
        readyReported_ = false;
        pending_.clear();
        recordLength_ = 0;
        if (listener_) listener_->SSLClose();
    });
}

void frmSendMailSSL::socketError(int number, const std::string& description) {
    guarded("wsSSL_Error", Module, [&] {
        if (listener_) listener_->SSLError(description, number);
    });
}

void frmSendMailSSL::socketDataArrival(const std::string& data) {
    guarded("wsSSL_DataArrival", Module, [&] { readRecords(data); });
}

void frmSendMailSSL::readRecords(const std::string& data) {
    pending_ += data;
    std::size_t at = 0;
    for (;;) {
        if (recordLength_ == 0) {
            if (pending_.size() - at < 2) break;
            unsigned first = byteAt(pending_, at);
            if (first >= 128) first -= 128;
            recordLength_ = static_cast<std::uint16_t>(first * 256 + byteAt(pending_, at + 1));
            at += 2;
            if (recordLength_ == 0) continue;
        }
        if (pending_.size() - at < recordLength_) {
            pending_.erase(0, at);
            return;
        }
        std::string body = pending_.substr(at, recordLength_);
        at += recordLength_;
        recordLength_ = 0;
        guarded("wsSSL_DataArrival", Module, [&] { handleRecord(body); });
        // A handler that closed the socket has thrown away what was pending.
        if (at > pending_.size()) at = pending_.size();
    }
    pending_.erase(0, at);

    if (state_ == HandshakeState::ApplicationData && !readyReported_) {
        readyReported_ = true;
        if (listener_) listener_->SSLConnect();
    }
    if (!dataBuffer_.empty()) {
        std::string plain = std::move(dataBuffer_);
        dataBuffer_.clear();
        if (listener_) listener_->SSLData(plain);
    }
}

void frmSendMailSSL::handleRecord(const std::string& body) {
    switch (state_) {
    case HandshakeState::WaitServerHello:
        onServerHello(body);
        break;
    case HandshakeState::WaitServerVerify:
        onServerVerify(body);
        break;
    case HandshakeState::WaitServerFinished:
        onServerFinished(body);
        break;
    case HandshakeState::ApplicationData:
        onApplicationData(body);
        break;
    }
}

void frmSendMailSSL::onServerHello(const std::string& body) {
    // Only what the key exchange needs is read: the certificate and the
    // connection id. Nothing in the certificate is verified.
    std::size_t certificateLength = byteAt(body, 5) * 256 + byteAt(body, 6);
    std::size_t connectionIdLength = byteAt(body, 9) * 256 + byteAt(body, 10);
    certificate_ = body.size() > 11 ? body.substr(11, certificateLength) : std::string();
    connectionId_ = body.substr(body.size() - std::min(connectionIdLength, body.size()));
    ++receiveSequence_;
    sendClientMasterKey();
}

void frmSendMailSSL::sendClientMasterKey() {
    state_ = HandshakeState::WaitServerVerify;
    std::string random = crypto_.randomBytes(32);

    // A server key of another form or size is not found, and the blob that
    // results cannot be imported: the handshake stops here and ends when the
    // server gives up.
    std::string modulus;
    std::size_t found = certificate_.find(PublicKeyRun);
    if (found != std::string::npos)
        modulus = certificate_.substr(found + PublicKeyRun.size(), ModulusLength);
    std::reverse(modulus.begin(), modulus.end());
    // PUBLICKEYBLOB, version 2, RSA key exchange, "RSA1", 1,024 bits, exponent 65537.
    publicKeyBlob_ = hexToBytes("0602000000A40000525341310004000001000100") + modulus;

    masterKey_ = crypto_.deriveKey(random).secret;
    const std::string tail = challenge_ + connectionId_;
    Ssl2DerivedKey read = crypto_.deriveKey(masterKey_ + "0" + tail);
    readKey_ = std::move(read.stream);
    readMacSecret_ = read.secret;
    Ssl2DerivedKey write = crypto_.deriveKey(masterKey_ + "1" + tail);
    writeKey_ = std::move(write.stream);
    writeMacSecret_ = write.secret;

    std::string rsaBlock = crypto_.encryptUnderBlob(publicKeyBlob_, masterKey_);
    // CLIENT-MASTER-KEY: the cipher, no clear key, 128 bytes of encrypted key, no key argument.
    sendRecord(bytes({0x02, 0x01, 0x00, 0x80, 0x00, 0x00, 0x00, 0x80, 0x00, 0x00}) + rsaBlock);
}

void frmSendMailSSL::onServerVerify(const std::string& body) {
    std::string plain = readKey_.apply(body);
    if (plain.size() < ChallengeLength ||
        plain.compare(plain.size() - ChallengeLength, ChallengeLength, challenge_) != 0) {
        dropSocket();
        return;
    }
    if (!macIsGood(plain)) return;
    state_ = HandshakeState::WaitServerFinished;
    writeRecords(bytes({0x03}) + connectionId_);
}

void frmSendMailSSL::onServerFinished(const std::string& body) {
    std::string plain = readKey_.apply(body);
    if (!macIsGood(plain)) dropSocket();
    state_ = HandshakeState::ApplicationData;
}

void frmSendMailSSL::onApplicationData(const std::string& body) {
    std::string plain = readKey_.apply(body);
    if (macIsGood(plain)) dataBuffer_ += plain.substr(MacLength);
}

bool frmSendMailSSL::macIsGood(const std::string& plain) {
    std::uint32_t sequence = receiveSequence_++;
    if (plain.size() < MacLength) return false;
    std::string computed =
        crypto_.md5(readMacSecret_ + plain.substr(MacLength) + sequenceBytes(sequence));
    return plain.compare(0, MacLength, computed) == 0;
}

void frmSendMailSSL::sendRecord(const std::string& body) {
    std::size_t length = body.size();
    std::string record = bytes({static_cast<unsigned char>(128 + length / 256),
                                static_cast<unsigned char>(length % 256)}) +
                         body;
    ++sendSequence_;
    socket_->sendData(record);
}

void frmSendMailSSL::writeRecords(const std::string& data) {
    for (std::size_t at = 0; at < data.size(); at += MaxRecordData) {
        std::string piece = data.substr(at, MaxRecordData);
        std::string mac = crypto_.md5(writeMacSecret_ + piece + sequenceBytes(sendSequence_));
        sendRecord(writeKey_.apply(mac + piece));
    }
}

} // namespace corva
