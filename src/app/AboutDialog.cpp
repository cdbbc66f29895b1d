#include "app/AboutDialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

AboutDialog::AboutDialog(QWidget* parent, int major, int minor) : QDialog(parent) {
    setObjectName(QStringLiteral("aboutfrm"));
    setWindowTitle(QStringLiteral("About"));

    auto* release = new QLabel(releaseText(major, minor), this);
    release->setObjectName(QStringLiteral("lblVersion"));
    QFont bold = release->font();
    bold.setBold(true);
    release->setFont(bold);
    auto* date = new QLabel(dateText(), this);
    date->setObjectName(QStringLiteral("lblDate"));
    auto* third = new QLabel(this);
    third->setObjectName(QStringLiteral("lblExtra"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Vondrel Lezers"), this));
    layout->addWidget(release);
    layout->addWidget(date);
    layout->addWidget(third);
    layout->addWidget(buttons);
}

QString AboutDialog::releaseText(int major, int minor) {
    return QStringLiteral("Release %1.%2").arg(major).arg(minor);
}
