#include "platform/qt/QtKeyring.h"

#include <QEventLoop>
#include <QTimer>
#include <qt6keychain/keychain.h>

namespace corva::platform::qt {

namespace {

// A keyring service that never answers must not hang the program.
constexpr int AnswerWithinMs = 15000;

// Runs a job to its end; the error for a person, or "" when it worked.
std::string runJob(QKeychain::Job& job) {
    job.setAutoDelete(false);
    QEventLoop loop;
    bool finished = false;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, [&] {
        finished = true;
        loop.quit();
    });
    QTimer::singleShot(AnswerWithinMs, &loop, &QEventLoop::quit);
    job.start();
    if (!finished) loop.exec();
    if (!finished) return KeyringNoAnswer;
    const std::string detail = ": " + job.errorString().toStdString();
    switch (job.error()) {
    case QKeychain::NoError:
        return "";
    case QKeychain::EntryNotFound:
        return KeyringNoEntry;
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
        return KeyringMissing + detail;
    case QKeychain::AccessDeniedByUser:
    case QKeychain::AccessDenied:
        return KeyringRefused;
    default:
        return KeyringFailed + detail;
    }
}

KeyringResult resultOf(const std::string& error) {
    return {error.empty(), "", error};
}

} // namespace

KeyringResult QtKeyring::store(const std::string& service, const std::string& key,
                               const std::string& secret) {
    QKeychain::WritePasswordJob job(QString::fromStdString(service));
    job.setKey(QString::fromStdString(key));
    job.setBinaryData(QByteArray(secret.data(), static_cast<qsizetype>(secret.size())));
    return resultOf(runJob(job));
}

KeyringResult QtKeyring::read(const std::string& service, const std::string& key) {
    QKeychain::ReadPasswordJob job(QString::fromStdString(service));
    job.setKey(QString::fromStdString(key));
    KeyringResult result = resultOf(runJob(job));
    result.notFound = job.error() == QKeychain::EntryNotFound;
    if (result.ok) {
        const QByteArray data = job.binaryData();
        result.secret.assign(data.constData(), static_cast<size_t>(data.size()));
    }
    return result;
}

KeyringResult QtKeyring::erase(const std::string& service, const std::string& key) {
    QKeychain::DeletePasswordJob job(QString::fromStdString(service));
    job.setKey(QString::fromStdString(key));
    return resultOf(runJob(job));
}

} // namespace corva::platform::qt
