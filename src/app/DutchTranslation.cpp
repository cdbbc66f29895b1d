#include "app/DutchTranslation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool installDutchTranslation(QCoreApplication& app) {
    QLocale::setDefault(QLocale(QLocale::Dutch, QLocale::Netherlands));
    auto* translator = new QTranslator(&app);
    if (!translator->load(QStringLiteral("qtbase_nl"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}
