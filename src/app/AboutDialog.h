#pragma once

#include <QDialog>

// aboutfrm: the release number and the release date.
class AboutDialog : public QDialog {
    Q_OBJECT

public:
    explicit AboutDialog(QWidget* parent = nullptr, int major = VONDREL_VERSION_MAJOR,
                         int minor = VONDREL_VERSION_MINOR);

    // "Release " + major + "." + minor, plain decimal digits.
    static QString releaseText(int major, int minor);
    static QString dateText() { return QStringLiteral("Date: 1-06-2005"); }
};
