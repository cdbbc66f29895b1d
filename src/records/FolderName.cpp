#include "records/FolderName.h"

#include <QRegularExpression>

namespace {

Status refuse(const QString& name, const QString& why) {
    return Status::failure(QStringLiteral("De mapnaam \"%1\" kan niet worden gebruikt: %2").arg(name, why));
}

}  // namespace

Status checkFolderName(const QString& name) {
    const QString n = name.trimmed();
    if (n.isEmpty()) {
        return {};
    }
    if (n == QLatin1String(".") || n == QLatin1String("..")) {
        return refuse(n, QStringLiteral("\".\" en \"..\" zijn geen eigen map."));
    }
    for (QChar c : n) {
        if (c == u'/' || c == u'\\') {
            return refuse(n, QStringLiteral("een mapnaam mag geen / of \\ bevatten."));
        }
        if (QStringLiteral("<>:\"|?*").contains(c)) {
            return refuse(n, QStringLiteral("een mapnaam mag geen < > : \" | ? * bevatten."));
        }
        if (c.unicode() < 0x20 || c.unicode() == 0x7F) {
            return refuse(n, QStringLiteral("een mapnaam mag geen stuurtekens bevatten."));
        }
    }
    // Windows opens a device, not a folder, for these names, with or without an extension.
    static const QRegularExpression device(QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(\\..*)?$"),
                                           QRegularExpression::CaseInsensitiveOption);
    if (device.match(n).hasMatch()) {
        return refuse(n, QStringLiteral("dit is een gereserveerde apparaatnaam van Windows."));
    }
    if (n.endsWith(u'.')) {
        return refuse(n, QStringLiteral("een mapnaam mag niet op een punt eindigen."));
    }
    return {};
}
