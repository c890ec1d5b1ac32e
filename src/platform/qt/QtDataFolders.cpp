#include "platform/qt/QtDataFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace corva::platform::qt {

std::vector<std::string> programDataFolders(const std::string& sub) {
    const QString name = QString::fromStdString(sub);
    QStringList candidates;
    if (QCoreApplication::instance())
        candidates << QCoreApplication::applicationDirPath() + QStringLiteral("/../share/corva/") +
                          name;
    candidates << QStringLiteral(CORVA_INSTALL_DATADIR "/corva/") + name
               << QStringLiteral(CORVA_SOURCE_DATADIR "/") + name;
    std::vector<std::string> folders;
    for (const QString& candidate : candidates) {
        const QFileInfo info(candidate);
        if (!info.isDir()) continue;
        const std::string path = QDir(info.canonicalFilePath()).absolutePath().toStdString();
        if (std::find(folders.begin(), folders.end(), path) == folders.end())
            folders.push_back(path);
    }
    return folders;
}

} // namespace corva::platform::qt
