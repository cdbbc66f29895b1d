#include "screens/AccessWindow.h"

#include <QCloseEvent>
#include <QDate>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "records/DataFolder.h"
#include "screens/AccessGrid.h"
#include "screens/CellEditor.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/OverviewWindow.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"

namespace {
const QString kSection = QStringLiteral("sleutelfrm");
const QString kGridSection = QStringLiteral("fg3");
const QString kTopRowKey = QStringLiteral("toprow");
constexpr int kLastStoredColumn = 5;
const QString kHelpCaption = QStringLiteral("Help");
const QString kHelpShownCaption = QStringLiteral("X Help");
}  // namespace

AccessWindow::AccessWindow(Session& session, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_session(session),
      m_grid(new AccessGrid(session, this)),
      m_hepllst(new QListWidget(this)),
      m_zoekcmd(new QPushButton(QStringLiteral(" Zoeken"), this)),
      m_cmdHelp(new QPushButton(kHelpCaption, this)) {
    setObjectName(QStringLiteral("sleutelfrm"));
    setWindowTitle(QStringLiteral("sleutelhouders"));

    auto* nieuwcmd = new QPushButton(QStringLiteral("Nieuw"), this);
    auto* cancelcmd = new QPushButton(QStringLiteral("Sluiten"), this);
    auto* overzichtcmd = new QPushButton(QStringLiteral("Overzicht"), this);
    overzichtcmd->setObjectName(QStringLiteral("overzichtcmd"));
    nieuwcmd->setObjectName(QStringLiteral("Nieuwcmd"));
    m_zoekcmd->setObjectName(QStringLiteral("zoekcmd"));
    m_cmdHelp->setObjectName(QStringLiteral("CmdHelp"));
    cancelcmd->setObjectName(QStringLiteral("cancelcmd"));
    for (QPushButton* button : {nieuwcmd, m_zoekcmd, overzichtcmd, m_cmdHelp, cancelcmd}) {
        button->setAutoDefault(false);
    }

    m_hepllst->setObjectName(QStringLiteral("Hepllst"));
    m_hepllst->hide();

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(nieuwcmd);
    buttons->addWidget(m_zoekcmd);
    buttons->addWidget(overzichtcmd);
    buttons->addStretch(1);
    buttons->addWidget(m_cmdHelp);
    buttons->addWidget(cancelcmd);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_grid, 1);
    layout->addLayout(buttons);

    connect(nieuwcmd, &QPushButton::clicked, this, [this] { openDetails(DetailsMode::New, currentRecord()); });
    connect(m_zoekcmd, &QPushButton::clicked, this, [this] { openDetails(DetailsMode::Search, 0); });
    connect(overzichtcmd, &QPushButton::clicked, this, &AccessWindow::openOverview);
    connect(m_cmdHelp, &QPushButton::clicked, this, &AccessWindow::CmdHelp_Click);
    connect(cancelcmd, &QPushButton::clicked, this, &QWidget::close);
    connect(m_grid, &AccessGrid::detailsRequested, this, [this](int record) {
        storeTopRow();
        openDetails(DetailsMode::Edit, record);
    });
    Mnemonics::assign(this);

    Form_Load();
}

AccessWindow::~AccessWindow() {
    Form_Unload();
    delete m_details;
    delete m_overview;
}

OverviewWindow* AccessWindow::openOverview() {
    // What is typed in a cell is saved first: the overview shows the files.
    m_grid->editor()->commit();
    return OverviewWindow::bringUp(m_overview, m_session, this);
}

void AccessWindow::Form_Load() {
    SettingsStore& store = m_session.settings();
    WindowSettings::restoreGeometry(this, store, kSection, false);
    const Status prepared =
        DataFolder::prepare(m_session.programFolder(), m_session.subdir, QDate::currentDate(), m_session.fileOps);
    if (!prepared) {
        MessageBox::error(this, prepared.error);
    }
    m_grid->fg3_laden();
    // The widths go on once the columns are there; later reader columns keep the narrow default.
    m_grid->restoreColumnWidths(store, kGridSection, WindowSettings::MinWidthRule::FirstColumnOnly, kLastStoredColumn,
                                QStringLiteral("900"));
    m_freshFromLoad = true;
}

void AccessWindow::Form_Activate() {
    // Not under an open editor: switching to another program and back must not lose what is typed.
    if (m_unloaded || m_grid->editor()->isOpen()) {
        return;
    }
    if (!m_freshFromLoad) {
        m_grid->fg3_laden();
    }
    m_freshFromLoad = false;
    bool ok = false;
    const int stored = m_session.settings().get(kGridSection, kTopRowKey, QStringLiteral("1")).trimmed().toInt(&ok);
    if (ok && stored != m_topRowSeen) {
        m_topRowSeen = stored;
        m_grid->setTopRow(stored);
    }
}

void AccessWindow::storeTopRow() {
    m_topRowSeen = m_grid->topRow();
    m_session.settings().save(kGridSection, kTopRowKey, QString::number(m_topRowSeen));
}

void AccessWindow::showReader(int readerNumber) {
    m_grid->showReader(readerNumber);
}

void AccessWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
        Form_Activate();
    }
}

void AccessWindow::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void AccessWindow::Form_Unload() {
    if (m_unloaded) {
        return;
    }
    m_grid->editor()->commit();
    m_unloaded = true;
    SettingsStore& store = m_session.settings();
    if (WindowSettings::saveGeometry(this, store, kSection)) {
        m_grid->saveColumnWidths(store, kGridSection, kLastStoredColumn);
        storeTopRow();
        store.save(kSection, QStringLiteral("subdir"), m_session.subdir);
    }
    if (m_details) {
        m_details->close();
    }
    Q_EMIT closed();
}

// The one place that opens the details window. " Zoeken" stays disabled for exactly as long as a
// search runs.
void AccessWindow::openDetails(DetailsMode mode, int record) {
    if (m_details) {
        m_details->close();
    }
    auto* window = new DetailsWindow(m_session, mode, record);
    window->setAttribute(Qt::WA_DeleteOnClose);
    m_zoekcmd->setEnabled(!window->searching());
    connect(window, &DetailsWindow::searchEnded, m_zoekcmd, [this] { m_zoekcmd->setEnabled(true); });
    connect(window, &DetailsWindow::recordDeleted, this, &AccessWindow::detailsDeleted);
    connect(window, &DetailsWindow::closed, this, &AccessWindow::detailsClosed);
    m_details = window;
    window->show();
    window->raise();
    window->activateWindow();
}

// Whatever the details window wrote shows, even before this window was ever activated.
void AccessWindow::detailsClosed() {
    m_zoekcmd->setEnabled(true);
    m_freshFromLoad = false;
    Form_Activate();
}

// The rows stay where they were; a record number still within the grid goes to the top.
void AccessWindow::detailsDeleted(int record) {
    const int top = m_grid->topRow();
    m_grid->fg3_laden();
    m_grid->setTopRow(top);
    m_grid->setTopRow(record);
}

int AccessWindow::currentRecord() const {
    const QModelIndex current = m_grid->currentIndex();
    return current.isValid() ? m_grid->model()->recordNumber(current.row()) : 0;
}

QStringList AccessWindow::helpLines() {
    const QString indent(18, QLatin1Char(' '));
    return {
        QStringLiteral(" In dit scherm geeft U sleutelhouders toegang tot de lezers-"),
        QString(58, QLatin1Char('_')),
        QStringLiteral(" "),
        QStringLiteral("Kolom 1 [Click] = Personalia van deze sleutelhouder bekijken en wijzigen"),
        QStringLiteral("Kolom 2 t/m 5 [dbl Click] = wijzigen/ invoeren naam, adres, plaats en vrije tekst"),
        QStringLiteral("Lezerkolom [Click] = wit > groen > blauw > wit"),
        indent + QStringLiteral("Groen = de sleutel opent deze lezer"),
        indent + QStringLiteral("Blauw = toegang ingetrokken: de lezer moet de sleutel weer leren weigeren"),
        indent + QStringLiteral("Wit = geen toegang"),
        indent + QStringLiteral("Elke klik zet een rood kruis bij de lezer in het hoofdscherm: maak daar"),
        indent + QStringLiteral("een nieuwe programmeersleutel voor deze lezer"),
        QStringLiteral("Kop [Click] = sorteren op naam; kop van kolom 1 = sorteren op nummer"),
        QStringLiteral("Kop lezer [Click] = de volledige naam van de lezer boven zijn kolom"),
        QStringLiteral("Nieuw = nieuwe sleutelhouder invoeren,  Zoeken = sleutelhouder opzoeken"),
    };
}

void AccessWindow::CmdHelp_Click() {
    // The caption alone tells whether the help is shown.
    if (m_cmdHelp->text() != kHelpShownCaption) {
        // The continuation lines line up under the text after "Kolom 1 [Click] = " only in a fixed pitch.
        // Chosen when shown: finding it is slow the first time, and most openings need no help.
        m_hepllst->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        m_hepllst->addItems(helpLines());
        placeHelpList();
        m_hepllst->show();
        m_hepllst->raise();
        m_cmdHelp->setText(kHelpShownCaption);
    } else {
        m_hepllst->clear();
        m_hepllst->hide();
        m_cmdHelp->setText(kHelpCaption);
    }
}

void AccessWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeHelpList();
}

void AccessWindow::placeHelpList() {
    m_hepllst->setGeometry(m_grid->geometry());
}
