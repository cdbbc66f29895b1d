#include "app/StartWindow.h"

#include <QCloseEvent>
#include <QDate>
#include <QDir>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/AboutDialog.h"
#include "app/PortDialog.h"
#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/SerialLine.h"
#include "records/ChangeLog.h"
#include "records/DataFolder.h"
#include "records/FolderName.h"
#include "screens/AccessWindow.h"
#include "screens/CellEditor.h"
#include "screens/ChangeLogWindow.h"
#include "screens/LocationWindow.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/OverviewWindow.h"
#include "screens/PlaceholderWindow.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/WindowSettings.h"

namespace {
using Col = ReaderListModel::Column;
const QString kSection = QStringLiteral("startfrm");
const QString kGridSection = QStringLiteral("FG2");
constexpr int kLastStoredColumn = 5;
const QString kHelpCaption = QStringLiteral("Help");
const QString kHelpShownCaption = QStringLiteral("X Help");

QString lowLatencyText(SerialLine::LowLatency lowLatency) {
    switch (lowLatency) {
        case SerialLine::LowLatency::On:
            return QStringLiteral("lage latentie aan");
        case SerialLine::LowLatency::Refused:
            return QStringLiteral("lage latentie geweigerd door het stuurprogramma");
        case SerialLine::LowLatency::NotOffered:
            break;
    }
    return QStringLiteral("geen lage-latentiestand");
}
}  // namespace

StartWindow::StartWindow(Session& session, QWidget* parent) : QMainWindow(parent), m_session(session) {
    setObjectName(QStringLiteral("startfrm"));
    setWindowTitle(QStringLiteral("Vondrel Lezers"));

    auto* central = new QWidget(this);
    setCentralWidget(central);
    // A tool bar rather than a row of its own: it folds what does not fit behind its arrow, so the
    // window can be as narrow as the stored width says.
    m_buttonRow = new QToolBar(QStringLiteral("Knoppen"), this);
    m_buttonRow->setObjectName(QStringLiteral("knoppen"));
    m_buttonRow->setMovable(false);
    m_buttonRow->setFloatable(false);
    m_buttonRow->toggleViewAction()->setVisible(false);
    addToolBar(Qt::TopToolBarArea, m_buttonRow);
    QPushButton* locaties = addButton(QStringLiteral("locatiebtn"), QStringLiteral("Locaties"));
    QPushButton* personen = addButton(QStringLiteral("persoonbtn"), QStringLiteral("Sleutelhouders"));
    QPushButton* overzicht = addButton(QStringLiteral("overzichtbtn"), QStringLiteral("Overzicht"));
    QPushButton* wissen = addButton(QStringLiteral("wiscmd"), QStringLiteral("Verwijderen"));
    QPushButton* logboek = addButton(QStringLiteral("logboekbtn"), QStringLiteral("Logboek"));
    QPushButton* versie = addButton(QStringLiteral("optiebtn"), QStringLiteral("Versie"));
    auto* spacer = new QWidget(m_buttonRow);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_cmdHelp = addButton(QStringLiteral("CmdHelp"), kHelpCaption);
    QPushButton* einde = addButton(QStringLiteral("cancelbtn"), QStringLiteral("Einde"));
    for (QPushButton* b : {locaties, personen, overzicht, wissen, logboek, versie}) {
        m_buttonRow->addWidget(b);
    }
    m_buttonRow->addWidget(spacer);
    m_buttonRow->addWidget(m_cmdHelp);
    m_buttonRow->addWidget(einde);
    // Buttons as wide as their captions ("X Help" the widest Help gets), so the whole row fits the
    // window's first width; no narrower window hides the last ones behind the bar's arrow.
    for (QPushButton* b : {locaties, personen, overzicht, wissen, logboek, versie, m_cmdHelp, einde}) {
        const QString widest = b == m_cmdHelp ? kHelpShownCaption : b->text();
        b->setMinimumWidth(b->fontMetrics().horizontalAdvance(widest) + 14);
        b->setMaximumWidth(b->minimumWidth());
    }
    setMinimumWidth(m_buttonRow->sizeHint().width());

    m_grid = new ReaderGrid(m_session, central);
    // The chosen location's name heads the list; without a location there is no heading.
    m_lblLocatie = new QLabel(central);
    m_lblLocatie->setObjectName(QStringLiteral("lblLocatie"));
    QFont heading = m_lblLocatie->font();
    heading.setBold(true);
    heading.setPointSizeF(heading.pointSizeF() * 1.2);
    m_lblLocatie->setFont(heading);
    m_lblLocatie->hide();
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(m_lblLocatie);
    layout->addWidget(m_grid, 1);

    m_helplst = new QListWidget(central);
    m_helplst->setObjectName(QStringLiteral("Helplst"));
    // The continuation lines line up under the text after "Kolom 1 [Click] = " only in a fixed pitch.
    m_helplst->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_helplst->hide();

    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("statuslbl"));
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusBar()->addWidget(m_status, 1);
    // The probe's own buttons sit beside the probe's state.
    QPushButton* poort = addButton(QStringLiteral("poortbtn"), QStringLiteral("Poort..."));
    m_simProbeButton = addButton(QStringLiteral("simprobebtn"), QStringLiteral("Probe..."));
    for (QPushButton* b : {poort, m_simProbeButton}) {
        b->setParent(statusBar());
        b->setFlat(true);
        b->setMinimumWidth(b->fontMetrics().horizontalAdvance(b->text()) + 16);
        b->setMaximumWidth(b->minimumWidth());
        statusBar()->addPermanentWidget(b);
    }
    m_simProbeButton->hide();

    connect(locaties, &QPushButton::clicked, this, &StartWindow::openLocations);
    connect(personen, &QPushButton::clicked, this, [this] { showAccessWindow(0); });
    connect(overzicht, &QPushButton::clicked, this, &StartWindow::openOverview);
    connect(wissen, &QPushButton::clicked, m_grid, &ReaderGrid::wiscmd_Click);
    connect(logboek, &QPushButton::clicked, this, &StartWindow::openChangeLog);
    connect(poort, &QPushButton::clicked, this, &StartWindow::openPortDialog);
    connect(versie, &QPushButton::clicked, this, [this] {
        if (!m_about) {
            m_about = new AboutDialog(this);
            m_about->setAttribute(Qt::WA_DeleteOnClose);
        }
        m_about->show();
        m_about->raise();
    });
    connect(m_cmdHelp, &QPushButton::clicked, this, &StartWindow::CmdHelp_Click);
    connect(einde, &QPushButton::clicked, this, &QWidget::close);
    connect(m_simProbeButton, &QPushButton::clicked, this, [this] {
        if (m_simulatedProbeWindow) {
            m_simulatedProbeWindow->show();
            m_simulatedProbeWindow->raise();
            m_simulatedProbeWindow->activateWindow();
        }
    });
    connect(m_grid, &ReaderGrid::programKeyRequested, this, &StartWindow::programKey);
    connect(m_grid, &ReaderGrid::accessRequested, this, &StartWindow::showAccessWindow);
    Mnemonics::assign(this);

    Form_Load();
}

StartWindow::~StartWindow() {
    Form_Unload();
    delete m_locations;
    delete m_access;
    delete m_changeLog;
    delete m_overview;
}

OverviewWindow* StartWindow::openOverview() {
    // What is typed in a cell is saved first: the overview shows the files.
    m_grid->editor()->commit();
    return OverviewWindow::bringUp(m_overview, m_session, this);
}

QPushButton* StartWindow::addButton(const QString& objectName, const QString& caption) {
    auto* button = new QPushButton(caption, m_buttonRow);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

void StartWindow::Form_Load() {
    SettingsStore& store = m_session.settings();
    m_session.check1 = store.get(QStringLiteral("opties"), QStringLiteral("check1"), QStringLiteral("0")).trimmed() ==
                       QLatin1String("1");
    WindowSettings::restoreColumnWidths(m_grid->view()->horizontalHeader(), store, kGridSection,
                                        WindowSettings::MinWidthRule::Columns2To4, 0, kLastStoredColumn,
                                        QStringLiteral("900"));
    WindowSettings::restoreGeometry(this, store, kSection);
    m_session.subdir = store.get(kSection, QStringLiteral("subdir"), m_session.subdir);

    QString error;
    if (!prepareDataFolder(&error)) {
        MessageBox::error(this, error);
    }
    showLocation(LocationWindow::nameOfCurrentLocation(m_session));

    // The port is brought on-line with its errors set aside: a missing probe must not stop the start.
    m_portError.clear();
    m_session.dowIo().startUp(store.get(kSection, QStringLiteral("poort"), QString()), &m_portError);

    m_grid->fg2_laden();
    // At a first start the names, codes and LED texts are read whole too, not only the headers.
    QHeaderView* header = m_grid->view()->horizontalHeader();
    for (int column = Col::ColName; column <= kLastStoredColumn; ++column) {
        if (!store.contains(kGridSection, QStringLiteral("colwidth(%1)").arg(column)) &&
            !header->isSectionHidden(column)) {
            header->resizeSection(column,
                                  qMax(header->sectionSize(column),
                                       static_cast<const QAbstractItemView*>(m_grid)->sizeHintForColumn(column)));
        }
    }
    updateStatusLine();
}

bool StartWindow::prepareDataFolder(QString* error) {
    const QDate today = QDate::currentDate();
    const Status prepared = DataFolder::prepare(m_session.programFolder(), m_session.subdir, today, m_session.fileOps);
    if (prepared) {
        return true;
    }
    *error = prepared.error;
    if (!DataFolder::checkLocation(m_session.programFolder(), m_session.subdir)) {
        // A stored folder name that leads outside bestanden is not followed: the records in bestanden
        // itself are used, and the refusal is shown.
        m_session.subdir.clear();
        (void)DataFolder::prepare(m_session.programFolder(), m_session.subdir, today, m_session.fileOps);
    }
    return false;
}

void StartWindow::programKey(int readerNumber) {
    keyProgrammed(ProbeWindow::programKey(m_session, readerNumber, this, [this] { openPortDialog(); }));
}

void StartWindow::keyProgrammed(const ProbeWindow::Outcome& outcome) {
    if (outcome.written) {
        m_grid->clearFlag(outcome.readerNumber, outcome.built);
    }
    for (const QString& check : outcome.runs) {
        m_session.logChange(ChangeLog::keyWritten(outcome.readerNumber, outcome.readerName, outcome.keyCount, check),
                            this);
    }
    if (!m_grid->editorOpen()) {
        m_grid->fg2_laden();
    }
}

void StartWindow::Form_Activate() {
    // Not under an open editor: switching to another program and back must not lose what is typed.
    if (!m_session.subdir.trimmed().isEmpty() && !m_grid->editorOpen()) {
        m_grid->fg2_laden();
    }
}

void StartWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && !m_unloaded) {
        Form_Activate();
    }
}

void StartWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    placeHelpList();
}

void StartWindow::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void StartWindow::Form_Unload() {
    if (m_unloaded) {
        return;
    }
    m_unloaded = true;
    m_grid->Fg2_LeaveCell();
    SettingsStore& store = m_session.settings();
    if (WindowSettings::saveGeometry(this, store, kSection)) {
        WindowSettings::saveColumnWidths(m_grid->view()->horizontalHeader(), store, kGridSection, 0, kLastStoredColumn);
        store.save(kSection, QStringLiteral("subdir"), m_session.subdir);
        store.save(kSection, QStringLiteral("poort"), QString::number(m_session.line().portNumber()));
    }
    m_session.dowIo().shutdown();
    for (QWidget* window : std::initializer_list<QWidget*>{m_portDialog, m_about, m_locations, m_access, m_changeLog,
                                                           m_overview, m_simulatedProbeWindow}) {
        if (window) {
            window->close();
        }
    }
    Q_EMIT unloaded();
}

QStringList StartWindow::helpLines() {
    const QString indent(18, QLatin1Char(' '));
    return {
        QStringLiteral(" In dit scherm kunt U een lezer toevoegen of verwijderen-"),
        QString(58, QLatin1Char('_')),
        QStringLiteral(" "),
        QStringLiteral("Kolom 1 [Click] = Programmeersleutel voor deze lezer laden"),
        indent + QStringLiteral("Rood kruis wil zeggen dat de gegevens gewijzigd zijn en de lezer dus opnieuw "
                                "geprogrammeerd"),
        indent + QStringLiteral("moet worden om met de programmagegevens overeen te stemmen"),
        QStringLiteral("Kolom 2 [Click] = Programma gaat naar Sleutel scherm en geeft de naam van deze lezer boven "
                       "zijn kolom"),
        QStringLiteral("Kolom 3 [dbl Click] = wijzigen/ invoeren naam of lokatie van de lezer"),
        QStringLiteral("Kolom 4 geeft na het aanmaken van een Programmeersleutel, het aantal sleutels voor deze lezer"),
        QStringLiteral("Kolom 5 [dbl Click] = wijzigen/ invoeren Unieke HexCode van de Lezer (6 hexcijfers)"),
        QStringLiteral("Kolom 6 [Click] = Led werking (normaal= intern)"),
        QStringLiteral("Kolom 7 [Click] = bij 'Tijd' valt het relais na de ingestelde tijd [kolom 8] weer af"),
        indent + QStringLiteral("bij 'Puls' : eerste keer aanbieden sleutel = aan, tweede keer = uit"),
        QStringLiteral("Kolom 8 [Click] = wijzigen/ invoeren Relais tijd"),
        QStringLiteral("Kolom 9 =Datum "),
    };
}

void StartWindow::CmdHelp_Click() {
    // The caption alone tells whether the help is shown.
    if (m_cmdHelp->text() != kHelpShownCaption) {
        m_helplst->addItems(helpLines());
        placeHelpList();
        m_helplst->show();
        m_helplst->raise();
        m_cmdHelp->setText(kHelpShownCaption);
    } else {
        m_helplst->clear();
        m_helplst->hide();
        m_cmdHelp->setText(kHelpCaption);
    }
}

void StartWindow::placeHelpList() {
    if (m_helplst && m_grid) {
        m_helplst->setGeometry(m_grid->geometry());
    }
}

PortDialog* StartWindow::openPortDialog() {
    if (!m_portDialog) {
        m_portDialog = new PortDialog(m_session, this);
        m_portDialog->setAttribute(Qt::WA_DeleteOnClose);
        m_portDialog->setModal(true);
        connect(m_portDialog, &PortDialog::portApplied, this, [this](const QString& error) {
            m_portError = error;
            updateStatusLine();
        });
        updateStatusLine();
    }
    m_portDialog->show();
    m_portDialog->raise();
    m_portDialog->activateWindow();
    return m_portDialog;
}

void StartWindow::setSimulatedProbeWindow(QWidget* window) {
    m_simulatedProbeWindow = window;
    m_simProbeButton->setVisible(window != nullptr);
    updateStatusLine();
}

void StartWindow::updateStatusLine() {
    QString probe;
    if (m_session.simulated) {
        probe = QStringLiteral("Gesimuleerde probe (geen echte poort)");
    } else {
        const SerialLine& line = m_session.line();
        const int number = line.portNumber();
        const QString path = m_session.serialPort ? m_session.serialPort->devicePath(number) : QString();
        const QString port =
            path.isEmpty() ? QStringLiteral("Com%1").arg(number) : QStringLiteral("Com%1 (%2)").arg(number).arg(path);
        probe = line.isOpen()
                    ? QStringLiteral("Probe op %1: poort open, %2").arg(port, lowLatencyText(line.lowLatency()))
                    : QStringLiteral("Probe op %1: niet verbonden").arg(port);
    }
    QString location = QStringLiteral("Geen locatie gekozen");
    if (!m_session.subdir.trimmed().isEmpty()) {
        location =
            QStringLiteral("Locatie: ") +
            (m_lblLocatie->text().isEmpty() ? QStringLiteral("(naam onbekend, map %1)").arg(m_session.subdir.trimmed())
                                            : m_lblLocatie->text());
    }
    m_status->setText(probe + QStringLiteral("   |   ") + location);
    // A folder path is long and says little at a glance; it is there when the pointer rests on the line.
    QStringList tip = {
        QStringLiteral("Programmamap: ") + QDir::toNativeSeparators(QDir::cleanPath(m_session.programFolder())),
        QStringLiteral("Gegevensmap: ") + QDir::toNativeSeparators(QDir::cleanPath(m_session.dataFolder())),
    };
    if (!m_portError.isEmpty()) {
        tip.append(m_portError);
    }
    m_status->setToolTip(tip.join(QLatin1Char('\n')));
}

LocationWindow* StartWindow::openLocations() {
    // An edit open in the reader list is saved before the list may be read from another folder.
    m_grid->Fg2_LeaveCell();
    // A closed window is on its way out; each opening loads a window of its own.
    if (!m_locations || !m_locations->isVisible()) {
        m_locations = new LocationWindow(m_session, this);
        m_locations->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_locations, &LocationWindow::locationChosen, this, [this](const QString& name) {
            showLocation(name);
            m_grid->fg2_laden();
            activateWindow();
        });
    }
    m_locations->show();
    m_locations->raise();
    m_locations->activateWindow();
    return m_locations;
}

ChangeLogWindow* StartWindow::openChangeLog() {
    if (!m_changeLog) {
        // A window of its own: it may stay open beside the list while changes are made.
        m_changeLog = new ChangeLogWindow(m_session);
        m_changeLog->setAttribute(Qt::WA_DeleteOnClose);
    } else {
        m_changeLog->laden();
    }
    m_changeLog->show();
    m_changeLog->raise();
    m_changeLog->activateWindow();
    return m_changeLog;
}

void StartWindow::showLocation(const QString& name) {
    m_lblLocatie->setText(name);
    m_lblLocatie->setVisible(!name.isEmpty());
    updateStatusLine();
}

void StartWindow::showAccessWindow(int readerNumber) {
    if (!m_access) {
        // A window of its own, not a child: it stays up while the main window is hidden.
        m_access = new AccessWindow(m_session);
        m_access->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_access, &AccessWindow::closed, this, [this] {
            if (!m_unloaded) {
                show();
                activateWindow();
                // The red crosses of the readers whose access changed, whatever the folder.
                m_grid->fg2_laden();
            }
        });
    }
    m_access->show();
    m_access->raise();
    m_access->activateWindow();
    m_access->showReader(readerNumber);
    hide();
}

void StartWindow::showPlaceholder(QPointer<PlaceholderWindow>& window, const QString& objectName,
                                  const QString& caption) {
    if (!window) {
        // A window of its own, not a child: it stays up while the main window is hidden.
        window = new PlaceholderWindow(objectName, caption);
        window->setAttribute(Qt::WA_DeleteOnClose);
        connect(window, &PlaceholderWindow::closed, this, [this] {
            if (!m_unloaded && isHidden()) {
                show();
                activateWindow();
            }
        });
    }
    window->setHeading(QString());
    window->show();
    window->raise();
    window->activateWindow();
}
