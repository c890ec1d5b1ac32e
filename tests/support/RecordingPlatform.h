// The platform in force with its prompts and sound replaced by recorders, so
// a test answers message boxes instead of blocking on them and can read what
// the user would have been asked or heard.
#pragma once

#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corva::test {

class RecordingPrompts : public platform::Prompts {
public:
    platform::Answer messageBox(const std::string& text, platform::Buttons buttons, platform::Icon,
                                const std::string&) override {
        messages.push_back(text);
        return buttons == platform::Buttons::Ok ? platform::Answer::Ok : answer;
    }
    platform::PasswordReply askPassword(const std::string& prompt) override {
        passwordPrompts.push_back(prompt);
        return passwordReply;
    }
    std::optional<std::string> inputBox(const std::string&, const std::string&,
                                        const std::string&) override {
        return std::exchange(input, std::nullopt);
    }
    void setCursor(platform::Cursor) override {}
    bool trustCertificate(const std::string& server,
                          const platform::CertificateInfo& certificate) override {
        trustQuestions.push_back(server + " " + certificate.fingerprint);
        return trustAnswer;
    }

    std::vector<std::string> messages;
    std::vector<std::string> passwordPrompts;
    // What the next input box is answered with; none is Cancel.
    std::optional<std::string> input;
    // What every question other than a plain OK is answered with.
    platform::Answer answer = platform::Answer::No;
    // What a password prompt is answered with: none, cancelled.
    platform::PasswordReply passwordReply{"", true, false};
    // Each certificate question as "server fingerprint", and its answer.
    std::vector<std::string> trustQuestions;
    bool trustAnswer = false;
};

class RecordingSound : public platform::Sound {
public:
    void play(const std::string& file) override { played.push_back(file); }
    std::vector<std::string> played;
};

class RecordingPlatform : public platform::Platform {
public:
    RecordingPlatform() : base_(platform::current()) {}
    std::unique_ptr<platform::Socket> createSocket() override { return base_.createSocket(); }
    std::unique_ptr<platform::Timer> createTimer() override { return base_.createTimer(); }
    std::unique_ptr<platform::LocalChannel> createLocalChannel() override {
        return base_.createLocalChannel();
    }
    platform::EventLoop& eventLoop() override { return base_.eventLoop(); }
    platform::Prompts& prompts() override { return prompts_; }
    platform::Clock& clock() override { return base_.clock(); }
    const platform::TextDecoder& textDecoder() override { return base_.textDecoder(); }
    platform::Printer& printer() override { return base_.printer(); }
    platform::Sound& sound() override { return sound_; }

    RecordingPrompts prompts_;
    RecordingSound sound_;

private:
    platform::Platform& base_;
};

class RecordingShell : public platform::Shell {
public:
    bool open(const std::string& target) override {
        opened.push_back(target);
        return true;
    }
    std::vector<std::string> opened;
};

// Also keeps what would have been opened in the browser or a viewer.
class ShellRecordingPlatform : public RecordingPlatform {
public:
    platform::Shell& shell() override { return shell_; }
    RecordingShell shell_;
};

} // namespace corva::test
