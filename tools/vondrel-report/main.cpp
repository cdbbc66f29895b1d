// vondrel-report: the overview of who opens which door of a location, for a script: as text, CSV or PDF,
// read from the record files without changing them.

#include "records/DataFolder.h"
#include "reports/Overview.h"
#include "reports/OverviewExport.h"
#include "reports/OverviewPrint.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QStringList>

#include <cstdio>

namespace {

constexpr int kExitOk = 0;
constexpr int kExitUsage = 2;
constexpr int kExitFile = 3;

const char kHelp[] =
    "Gebruik: vondrel-report --home MAP [--map LOCATIEMAP] [--reader N | --holder N]\n"
    "                        [--format text|csv|pdf] [--filter TEKST] [--output BESTAND]\n"
    "\n"
    "Toont wie welke deur opent: per lezer de sleutelhouders met toegang (sleutelcode en \"Geldig\") en apart\n"
    "de ingetrokken sleutelhouders, met de modus, de datum van de laatste wijziging en de \"X\" van de lezer;\n"
    "of per sleutelhouder de lezers die hij opent. De bestanden worden alleen gelezen.\n"
    "\n"
    "Opties:\n"
    "  --home MAP                 de programmamap met de map bestanden\n"
    "  --map LOCATIEMAP           de map van de locatie onder bestanden (zonder: bestanden zelf)\n"
    "  --reader N                 alleen lezer N\n"
    "  --holder N                 alleen sleutelhouder N, met de lezers die hij opent\n"
    "  --view lezer|sleutelhouder het overzicht per lezer (standaard) of per sleutelhouder\n"
    "  --format text|csv|pdf      tekst (standaard), CSV (UTF-8 met BOM, puntkomma's) of PDF (A4)\n"
    "  --filter TEKST             alleen sleutelhouders met TEKST in naam of sleutelcode\n"
    "  --output BESTAND           schrijf naar BESTAND in plaats van naar de standaarduitvoer\n"
    "  --date DD-MM-JJJJ          de datum in de kop (standaard vandaag)\n"
    "  --help                     deze tekst\n"
    "\n"
    "Afsluitcodes: 0 gelukt, 2 verkeerde aanroep, 3 bestand niet te lezen of te schrijven.\n";

void err(const QString& text) {
    std::fputs(qPrintable(QStringLiteral("vondrel-report: ") + text + QLatin1Char('\n')), stderr);
    std::fflush(stderr);
}

struct Options {
    QString home;
    QString map;
    int reader = 0;
    int holder = 0;
    QString view = QStringLiteral("lezer");
    QString format = QStringLiteral("text");
    QString filter;
    QString output;
    QDate date = QDate::currentDate();
    bool help = false;
};

bool parse(const QStringList& args, Options* o, QString* error) {
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args.at(i);
        auto value = [&](QString* target) {
            if (i + 1 >= args.size()) {
                *error = QStringLiteral("%1 verwacht een waarde").arg(a);
                return false;
            }
            *target = args.at(++i);
            return true;
        };
        auto number = [&](int* target) {
            QString v;
            bool ok = false;
            if (!value(&v) || (*target = v.toInt(&ok), !ok) || *target < 1) {
                *error = QStringLiteral("%1 verwacht een nummer vanaf 1").arg(a);
                return false;
            }
            return true;
        };
        QString v;
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            o->help = true;
        } else if (a == QLatin1String("--home")) {
            if (!value(&o->home)) {
                return false;
            }
        } else if (a == QLatin1String("--map")) {
            if (!value(&o->map)) {
                return false;
            }
        } else if (a == QLatin1String("--reader")) {
            if (!number(&o->reader)) {
                return false;
            }
        } else if (a == QLatin1String("--holder")) {
            if (!number(&o->holder)) {
                return false;
            }
        } else if (a == QLatin1String("--view")) {
            if (!value(&o->view)) {
                return false;
            }
            if (o->view != QLatin1String("lezer") && o->view != QLatin1String("sleutelhouder")) {
                *error = QStringLiteral("--view verwacht lezer of sleutelhouder");
                return false;
            }
        } else if (a == QLatin1String("--format")) {
            if (!value(&o->format)) {
                return false;
            }
            if (!QStringList{"text", "csv", "pdf"}.contains(o->format)) {
                *error = QStringLiteral("--format verwacht text, csv of pdf");
                return false;
            }
        } else if (a == QLatin1String("--filter")) {
            if (!value(&o->filter)) {
                return false;
            }
        } else if (a == QLatin1String("--output")) {
            if (!value(&o->output)) {
                return false;
            }
        } else if (a == QLatin1String("--date")) {
            if (!value(&v) || !(o->date = QDate::fromString(v, QStringLiteral("dd-MM-yyyy"))).isValid()) {
                *error = QStringLiteral("--date verwacht een datum als 31-12-2025");
                return false;
            }
        } else {
            *error = QStringLiteral("onbekende optie %1").arg(a);
            return false;
        }
    }
    if (o->help) {
        return true;
    }
    if (o->home.isEmpty()) {
        *error = QStringLiteral("--home ontbreekt");
        return false;
    }
    if (o->reader != 0 && o->holder != 0) {
        *error = QStringLiteral("--reader en --holder gaan niet samen");
        return false;
    }
    return true;
}

bool writeOut(const Options& o, const QByteArray& bytes) {
    if (o.output.isEmpty()) {
        return std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size()) &&
               std::fflush(stdout) == 0;
    }
    QSaveFile file(o.output);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        err(QStringLiteral("het bestand %1 kan niet worden geschreven: %2").arg(o.output, file.errorString()));
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    // No window is ever shown; the PDF only needs fonts, which the offscreen platform gives without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    Options o;
    QString error;
    if (!parse(QCoreApplication::arguments(), &o, &error)) {
        err(error);
        std::fputs("Zie vondrel-report --help.\n", stderr);
        return kExitUsage;
    }
    if (o.help) {
        std::fputs(kHelp, stdout);
        return kExitOk;
    }
    if (const Status location = DataFolder::checkLocation(o.home, o.map); !o.map.trimmed().isEmpty() && !location) {
        err(location.error);
        return kExitUsage;
    }
    const QString bestanden = DataFolder::bestandenPath(o.home);
    if (!QFileInfo(bestanden).isDir()) {
        err(QStringLiteral("de map %1 bestaat niet").arg(bestanden));
        return kExitFile;
    }
    const QString folder = DataFolder::path(o.home, o.map);
    if (!QFileInfo(folder).isDir()) {
        err(QStringLiteral("de map %1 bestaat niet").arg(folder));
        return kExitFile;
    }
    const Result<Overview> overview = Overview::load(folder, locationNameOf(bestanden, o.map));
    if (!overview) {
        err(overview.error);
        return kExitFile;
    }
    const OverviewView view =
        o.holder != 0 || o.view == QLatin1String("sleutelhouder") ? OverviewView::PerHolder : OverviewView::PerReader;
    const int only = view == OverviewView::PerHolder ? o.holder : o.reader;
    const int count =
        int(view == OverviewView::PerHolder ? overview.value.holders.size() : overview.value.readers.size());
    if (only > count) {
        err(view == OverviewView::PerHolder
                ? QStringLiteral("sleutelhouder %1 bestaat niet; er zijn er %2").arg(only).arg(count)
                : QStringLiteral("lezer %1 bestaat niet; er zijn er %2").arg(only).arg(count));
        return kExitUsage;
    }
    const OverviewFilter filter(o.filter);

    QByteArray bytes;
    if (o.format == QLatin1String("csv")) {
        bytes = OverviewExport::csv(overview.value, view, filter, only);
    } else if (o.format == QLatin1String("pdf")) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        const Result<int> pages = OverviewPrint::writePdf(
            buffer, OverviewPrint::lines(OverviewTables::sections(overview.value, view, filter, only), view),
            {overview.value.location, OverviewExport::viewTitle(view), o.date});
        if (!pages) {
            err(pages.error);
            return kExitFile;
        }
    } else {
        bytes = OverviewExport::text(overview.value, view, o.date, filter, only).toUtf8();
    }
    return writeOut(o, bytes) ? kExitOk : kExitFile;
}
