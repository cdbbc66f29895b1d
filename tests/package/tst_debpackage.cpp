// The .deb that ./dev package makes, built afresh by cpack into a folder of its own: what is in it and
// where, what it asks of the system, and whether its desktop files hold together.

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kAppId = QStringLiteral("nl.vondrel.lezers");
const QString kDesktopFile = QStringLiteral("/usr/share/applications/nl.vondrel.lezers.desktop");
const QString kMetainfoFile = QStringLiteral("/usr/share/metainfo/nl.vondrel.lezers.metainfo.xml");
const QString kIconFile = QStringLiteral("/usr/share/icons/hicolor/scalable/apps/nl.vondrel.lezers.svg");
const QString kExecutable = QStringLiteral("-rwxr-xr-x");
const QString kData = QStringLiteral("-rw-r--r--");
const QString kFolder = QStringLiteral("drwxr-xr-x");

struct Run {
    int code = -1;
    QString out;
    QString err;
};

Run run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    Run result;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        result.err = program + QStringLiteral(": ") + process.errorString();
        return result;
    }
    result.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString fileText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The value of key in a desktop entry; a translated key (Name[nl]) is another key.
QString desktopValue(const QString& entry, const QString& key) {
    const QRegularExpression line(QStringLiteral("^%1=(.*)$").arg(QRegularExpression::escape(key)),
                                  QRegularExpression::MultilineOption);
    return line.match(entry).captured(1).trimmed();
}

// The untranslated texts of an element of the metainfo (a translation carries xml:lang), in order.
// Whether the file is well-formed is for appstreamcli to say.
QStringList metainfoTexts(const QString& xml, const QString& element) {
    const QRegularExpression tag(QStringLiteral("<%1(\\s[^>]*)?>([^<]*)</%1>").arg(element));
    QStringList texts;
    for (const QRegularExpressionMatch& match : tag.globalMatch(xml)) {
        if (!match.captured(1).contains(QLatin1String("xml:lang"))) {
            texts << match.captured(2).trimmed();
        }
    }
    return texts;
}

}  // namespace

class TestDebPackage : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_deb;
    QString m_root;
    QMap<QString, QString> m_entries;  // path in the package, as "/usr/bin/vondrel" -> "-rwxr-xr-x root/root"

    QString field(const QString& name) const {
        return run(QStringLiteral("dpkg-deb"), {"--field", m_deb, name}).out.trimmed();
    }

    QString gunzipped(const QString& path) const {
        return run(QStringLiteral("gzip"), {"--decompress", "--stdout", m_root + path}).out;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        const Run cpack =
            run(QStringLiteral(VONDREL_CPACK), {"--config", QStringLiteral(VONDREL_CPACK_CONFIG), "-B", m_dir.path()});
        QVERIFY2(cpack.code == 0, qPrintable(cpack.out + cpack.err));
        const QStringList debs = QDir(m_dir.path()).entryList({QStringLiteral("vondrel_*.deb")}, QDir::Files);
        QCOMPARE(debs.size(), 1);
        m_deb = m_dir.filePath(debs.constFirst());

        const Run contents = run(QStringLiteral("dpkg-deb"), {"--contents", m_deb});
        QVERIFY2(contents.code == 0, qPrintable(contents.err));
        for (const QString& line : contents.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList columns = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
            QVERIFY2(columns.size() == 6, qPrintable(line));
            QString path = columns.last();
            path.remove(0, 1);  // the leading "." of "./usr/bin/vondrel"
            if (path.endsWith(QLatin1Char('/')) && path.size() > 1) {
                path.chop(1);
            }
            m_entries.insert(path, columns.at(0) + QLatin1Char(' ') + columns.at(1));
        }

        m_root = m_dir.filePath(QStringLiteral("root"));
        const Run extract = run(QStringLiteral("dpkg-deb"), {"--extract", m_deb, m_root});
        QVERIFY2(extract.code == 0, qPrintable(extract.err));
    }

    void contents_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("mode");
        for (const char* program : {"vondrel", "vondrel-probe", "vondrel-sim", "vondrel-report"}) {
            QTest::addRow("%s", program) << QStringLiteral("/usr/bin/%1").arg(program) << kExecutable;
            QTest::addRow("man page %s", program)
                << QStringLiteral("/usr/share/man/man1/%1.1.gz").arg(program) << kData;
        }
        QTest::newRow("desktop entry") << kDesktopFile << kData;
        QTest::newRow("icon") << kIconFile << kData;
        QTest::newRow("metainfo") << kMetainfoFile << kData;
        QTest::newRow("copyright") << "/usr/share/doc/vondrel/copyright" << kData;
        QTest::newRow("changelog") << "/usr/share/doc/vondrel/changelog.Debian.gz" << kData;
        QTest::newRow("folder") << "/usr/share/man/man1" << kFolder;
    }
    void contents() {
        QFETCH(QString, path);
        QFETCH(QString, mode);
        QVERIFY2(m_entries.contains(path), qPrintable(path + QStringLiteral(" is not in the package")));
        QCOMPARE(m_entries.value(path), mode + QStringLiteral(" root/root"));
    }

    void nothingOutsideUsr() {
        for (const QString& path : m_entries.keys()) {
            const bool underUsr =
                path == QLatin1String("/") || path == QLatin1String("/usr") || path.startsWith(QLatin1String("/usr/"));
            QVERIFY2(underUsr && !path.startsWith(QLatin1String("/usr/local")), qPrintable(path));
        }
    }

    void control_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("pattern");
        const QString architecture = run(QStringLiteral("dpkg"), {"--print-architecture"}).out.trimmed();
        QTest::newRow("package") << "Package"
                                 << "^vondrel$";
        QTest::newRow("version from the project")
            << "Version" << QStringLiteral("^%1-[0-9]+$").arg(QRegularExpression::escape(VONDREL_VERSION));
        QTest::newRow("architecture") << "Architecture" << QStringLiteral("^%1$").arg(architecture);
        for (const char* library :
             {"libqt6core6", "libqt6gui6", "libqt6widgets6", "libqt6printsupport6", "libqt6serialport6"}) {
            QTest::newRow(library) << "Depends" << QStringLiteral("(^|, )%1 \\(>= 6\\.").arg(QLatin1String(library));
        }
        QTest::newRow("Qt's own texts in Dutch") << "Recommends"
                                                 << "(^|, )qt6-translations-l10n($|,)";
    }
    void control() {
        QFETCH(QString, name);
        QFETCH(QString, pattern);
        const QString value = field(name);
        QVERIFY2(QRegularExpression(pattern).match(value).hasMatch(), qPrintable(name + QStringLiteral(": ") + value));
    }

    // A version bump without a changelog entry gives a package whose history ends a version early.
    void changelogNamesThisVersion() {
        const QString changelog = gunzipped(QStringLiteral("/usr/share/doc/vondrel/changelog.Debian.gz"));
        const QString top = changelog.section(QLatin1Char('\n'), 0, 0);
        QCOMPARE(top.section(QLatin1Char(' '), 0, 1), QStringLiteral("vondrel (%1)").arg(field("Version")));
    }

    void desktopEntryStartsTheProgram() {
        const Run validate = run(QStringLiteral("desktop-file-validate"), {m_root + kDesktopFile});
        QVERIFY2(validate.code == 0 && !validate.out.contains(QLatin1String("warning")),
                 qPrintable(validate.out + validate.err));

        const QString entry = fileText(m_root + kDesktopFile);
        QCOMPARE(desktopValue(entry, "Name"), QStringLiteral("Vondrel Lezers"));
        const QString program = desktopValue(entry, "Exec").section(QLatin1Char(' '), 0, 0);
        QCOMPARE(m_entries.value(QStringLiteral("/usr/bin/") + program).left(10), kExecutable);
        QCOMPARE(QStringLiteral("/usr/share/icons/hicolor/scalable/apps/%1.svg").arg(desktopValue(entry, "Icon")),
                 kIconFile);
        QVERIFY2(!desktopValue(entry, "Categories").isEmpty(), "without a category it shows in no menu");
    }

    void metainfoPointsAtWhatIsInstalled() {
        const Run validate = run(QStringLiteral("appstreamcli"), {"validate", "--no-net", m_root + kMetainfoFile});
        QVERIFY2(validate.code == 0, qPrintable(validate.out + validate.err));

        const QString xml = fileText(m_root + kMetainfoFile);
        QCOMPARE(metainfoTexts(xml, "id"), QStringList{kAppId});
        QCOMPARE(metainfoTexts(xml, "launchable"), QStringList{kDesktopFile.section(QLatin1Char('/'), -1)});
        QCOMPARE(metainfoTexts(xml, "binary"),
                 (QStringList{"vondrel", "vondrel-probe", "vondrel-sim", "vondrel-report"}));
        for (const QString& binary : metainfoTexts(xml, "binary")) {
            QVERIFY2(m_entries.contains(QStringLiteral("/usr/bin/") + binary), qPrintable(binary));
        }
    }

    // apt, the menu and a software centre each show one of these three; they say the same.
    void oneSummaryEverywhere() {
        const QString synopsis = field("Description").section(QLatin1Char('\n'), 0, 0);
        QVERIFY(!synopsis.isEmpty());
        QCOMPARE(desktopValue(fileText(m_root + kDesktopFile), "Comment"), synopsis);
        QCOMPARE(metainfoTexts(fileText(m_root + kMetainfoFile), "summary"), QStringList{synopsis});
    }

    // The packaged, stripped programs start, and their man page covers every option --help names.
    void manPageCoversHelp_data() {
        QTest::addColumn<QString>("program");
        QTest::newRow("program") << "vondrel";
        QTest::newRow("probe tool") << "vondrel-probe";
        QTest::newRow("probe simulator") << "vondrel-sim";
        QTest::newRow("report tool") << "vondrel-report";
    }
    void manPageCoversHelp() {
        QFETCH(QString, program);
        const Run help = run(m_root + QStringLiteral("/usr/bin/") + program, {"--help"});
        QVERIFY2(help.code == 0, qPrintable(help.err));

        QString page = gunzipped(QStringLiteral("/usr/share/man/man1/%1.1.gz").arg(program));
        page.replace(QLatin1String("\\-"), QLatin1String("-"));
        QVERIFY2(page.startsWith(QStringLiteral(".TH %1 1 ").arg(program.toUpper())), qPrintable(page.left(80)));

        static const QRegularExpression option(QStringLiteral("(?<![\\w-])--[a-z0-9][a-z0-9-]*"));
        QStringList options;
        for (const QRegularExpressionMatch& match : option.globalMatch(help.out)) {
            options << match.captured();
        }
        QVERIFY2(!options.isEmpty(), qPrintable(help.out));
        for (const QString& name : options) {
            const QRegularExpression inPage(QRegularExpression::escape(name) + QStringLiteral("(?![a-z0-9-])"));
            QVERIFY2(inPage.match(page).hasMatch(), qPrintable(name + QStringLiteral(" is not in the man page")));
        }
    }
};

QTEST_GUILESS_MAIN(TestDebPackage)
#include "tst_debpackage.moc"
