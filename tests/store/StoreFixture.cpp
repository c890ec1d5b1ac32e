#include "StoreFixture.h"

#include "core/DateTime.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "store/modFolders.h"

#include <cmath>

namespace corva::test {

std::string messageText(const MessageSpec& s) {
    std::string t = "From: " + s.from + "\r\nTo: " + s.to + "\r\nSubject: " + s.subject +
                    "\r\nDate: Tue, 3 Jun 2008 11:05:30 +0200\r\n";
    if (!s.id.empty()) t += "Message-ID: " + s.id + "\r\n";
    if (s.read) t += "X-Message-Read: 1\r\n";
    if (!s.receiveDate.empty()) t += "X-Receive-Date: " + s.receiveDate + "\r\n";
    return t + "\r\n" + s.body;
}

MessageSpec dated(const std::string& subject, int daysBack, bool read) {
    MessageSpec s;
    s.subject = subject;
    s.id = "<" + subject + "@x>";
    s.read = read;
    s.receiveDate = daysAgo(daysBack);
    return s;
}

void StoreTest::SetUp() {
    home_.makeProgramFolder();
    Settings().DeleteAllSettings();
    PathsStore().DeleteAllSettings();
    NoCacheFlag = false;
    readmessagefolder();
}

void StoreTest::TearDown() {
    Settings().DeleteAllSettings();
    PathsStore().DeleteAllSettings();
}

std::string StoreTest::addMessage(const std::string& folder, const std::string& fileName,
                                  const MessageSpec& sample) {
    std::string path = MessageFolder + folder + (sample.read ? LCase(fileName) : UCase(fileName));
    writeFile(path, messageText(sample));
    return path;
}

std::string StoreTest::inbox() const {
    return MessageFolder + "Inbox/";
}

std::string daysAgo(int n) {
    return DateTime::today().addDays(-n).format("yyyy-mm-dd") + " 12:00:00";
}

long today() {
    return static_cast<long>(std::floor(DateTime::today().serial()));
}

} // namespace corva::test
