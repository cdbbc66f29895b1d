#include "records/FolderName.h"

#include <QRegularExpression>

namespace {

bool refuse(QString* error, const QString& name, const QString& why) {
    if (error) {
        *error = QStringLiteral("De mapnaam \"%1\" kan niet worden gebruikt: %2").arg(name, why);
    }
    return false;
}

}  // namespace

bool checkFolderName(const QString& name, QString* error) {
    const QString n = name.trimmed();
    if (n.isEmpty()) {
        return true;
    }
    if (n == QLatin1String(".") || n == QLatin1String("..")) {
        return refuse(error, n, QStringLiteral("\".\" en \"..\" zijn geen eigen map."));
    }
    for (QChar c : n) {
        if (c == u'/' || c == u'\\') {
            return refuse(error, n, QStringLiteral("een mapnaam mag geen / of \\ bevatten."));
        }
        if (QStringLiteral("<>:\"|?*").contains(c)) {
            return refuse(error, n, QStringLiteral("een mapnaam mag geen < > : \" | ? * bevatten."));
        }
        if (c.unicode() < 0x20 || c.unicode() == 0x7F) {
            return refuse(error, n, QStringLiteral("een mapnaam mag geen stuurtekens bevatten."));
        }
    }
    // Windows opens a device, not a folder, for these names, with or without an extension.
    static const QRegularExpression device(QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(\\..*)?$"),
                                           QRegularExpression::CaseInsensitiveOption);
    if (device.match(n).hasMatch()) {
        return refuse(error, n, QStringLiteral("dit is een gereserveerde apparaatnaam van Windows."));
    }
    if (n.endsWith(u'.')) {
        return refuse(error, n, QStringLiteral("een mapnaam mag niet op een punt eindigen."));
    }
    return true;
}
