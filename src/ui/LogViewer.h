// The log viewer: log.txt as it stands, with a refresh.
#pragma once

#include <QDialog>

class QPlainTextEdit;

namespace corva::ui {

class LogViewer : public QDialog {
    Q_OBJECT
public:
    explicit LogViewer(QWidget* parent = nullptr);
    void refresh();
    QString text() const;

private:
    QPlainTextEdit* txtLog_;
};

} // namespace corva::ui
