#include "screens/OverviewWindow.h"

#include <QCloseEvent>
#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPrinter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSplitter>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

#include "reports/OverviewExport.h"
#include "reports/OverviewPrint.h"
#include "screens/FileDialogs.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/WindowSettings.h"

namespace {
const QString kSection = QStringLiteral("overzichtfrm");

QTableView* makeTable(QAbstractItemModel* model, QWidget* parent) {
    auto* table = new QTableView(parent);
    table->setModel(model);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->verticalHeader()->hide();
    // Fixed row heights: a list of 10,000 key holders is laid out without measuring each row.
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}
}  // namespace

void OverviewTableModel::setTable(OverviewTable table) {
    beginResetModel();
    m_table = std::move(table);
    endResetModel();
}

int OverviewTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_table.rows.size());
}

int OverviewTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_table.headings.size());
}

QVariant OverviewTableModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= m_table.rows.size()) {
        return {};
    }
    return m_table.rows.at(index.row()).value(index.column());
}

QVariant OverviewTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal) {
        return {};
    }
    return m_table.headings.value(section);
}

OverviewWindow::OverviewWindow(Session& session, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_session(session),
      m_heading(new QLabel(this)),
      m_filter(new QLineEdit(this)),
      m_tabs(new QTabWidget(this)) {
    setObjectName(QStringLiteral("overzichtfrm"));
    setWindowTitle(QStringLiteral("Overzicht"));
    setAttribute(Qt::WA_DeleteOnClose);

    QFont bold = m_heading->font();
    bold.setBold(true);
    m_heading->setFont(bold);
    m_heading->setObjectName(QStringLiteral("locatielbl"));
    m_filter->setObjectName(QStringLiteral("filtertxt"));
    m_filter->setPlaceholderText(QStringLiteral("Zoeken op naam of sleutelcode"));
    m_filter->setClearButtonEnabled(true);
    m_tabs->setObjectName(QStringLiteral("weergave"));
    m_tabs->addTab(makePage(m_readers, QStringLiteral("Met toegang"), QStringLiteral("Ingetrokken")),
                   QStringLiteral("Per lezer"));
    m_tabs->addTab(makePage(m_holders, QStringLiteral("Opent"), QStringLiteral("Ingetrokken")),
                   QStringLiteral("Per sleutelhouder"));

    auto* printcmd = new QPushButton(QStringLiteral("Afdrukken..."), this);
    auto* pdfcmd = new QPushButton(QStringLiteral("PDF opslaan..."), this);
    auto* csvcmd = new QPushButton(QStringLiteral("CSV exporteren..."), this);
    auto* cancelcmd = new QPushButton(QStringLiteral("Sluiten"), this);
    printcmd->setObjectName(QStringLiteral("printcmd"));
    pdfcmd->setObjectName(QStringLiteral("pdfcmd"));
    csvcmd->setObjectName(QStringLiteral("csvcmd"));
    cancelcmd->setObjectName(QStringLiteral("cancelcmd"));

    auto* top = new QHBoxLayout;
    top->addWidget(m_heading, 1);
    top->addWidget(new QLabel(QStringLiteral("Filter:"), this));
    top->addWidget(m_filter, 1);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* b : {printcmd, pdfcmd, csvcmd}) {
        b->setAutoDefault(false);
        buttons->addWidget(b);
    }
    buttons->addStretch(1);
    buttons->addWidget(cancelcmd);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_tabs, 1);
    layout->addLayout(buttons);

    connect(m_filter, &QLineEdit::textChanged, this, &OverviewWindow::refresh);
    connect(printcmd, &QPushButton::clicked, this, &OverviewWindow::printcmd_Click);
    connect(pdfcmd, &QPushButton::clicked, this, &OverviewWindow::pdfcmd_Click);
    connect(csvcmd, &QPushButton::clicked, this, &OverviewWindow::csvcmd_Click);
    connect(cancelcmd, &QPushButton::clicked, this, &QWidget::close);
    Mnemonics::assign(this);

    WindowSettings::restoreGeometry(this, m_session.settings(), kSection);
    reload();
}

OverviewWindow::~OverviewWindow() {
    saveGeometry();
}

QWidget* OverviewWindow::makePage(Page& page, const QString& grantedCaption, const QString& withdrawnCaption) {
    auto* splitter = new QSplitter(Qt::Vertical, this);
    page.listModel = new OverviewTableModel(this);
    page.granted = new OverviewTableModel(this);
    page.withdrawn = new OverviewTableModel(this);
    page.list = makeTable(page.listModel, splitter);
    auto* lower = new QWidget(splitter);
    auto* lowerLayout = new QHBoxLayout(lower);
    lowerLayout->setContentsMargins(0, 0, 0, 0);
    for (const auto& [model, caption] : {std::pair{page.granted, grantedCaption}, {page.withdrawn, withdrawnCaption}}) {
        auto* box = new QVBoxLayout;
        box->addWidget(new QLabel(caption, lower));
        box->addWidget(makeTable(model, lower), 1);
        lowerLayout->addLayout(box, 1);
    }
    splitter->addWidget(page.list);
    splitter->addWidget(lower);
    const OverviewView view = &page == &m_readers ? OverviewView::PerReader : OverviewView::PerHolder;
    connect(page.list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this, view] { showDetails(view); });
    return splitter;
}

OverviewWindow::Page& OverviewWindow::page(OverviewView view) {
    return view == OverviewView::PerReader ? m_readers : m_holders;
}

const OverviewWindow::Page& OverviewWindow::page(OverviewView view) const {
    return view == OverviewView::PerReader ? m_readers : m_holders;
}

OverviewView OverviewWindow::view() const {
    return m_tabs->currentIndex() == 1 ? OverviewView::PerHolder : OverviewView::PerReader;
}

void OverviewWindow::setView(OverviewView view) {
    m_tabs->setCurrentIndex(view == OverviewView::PerHolder ? 1 : 0);
}

void OverviewWindow::setFilter(const QString& text) {
    m_filter->setText(text);
}

void OverviewWindow::selectRow(int row) {
    const Page& p = page(view());
    p.list->setCurrentIndex(p.listModel->index(row, 0));
}

OverviewTableModel* OverviewWindow::listModel(OverviewView view) const {
    return page(view).listModel;
}

OverviewTableModel* OverviewWindow::grantedModel(OverviewView view) const {
    return page(view).granted;
}

OverviewTableModel* OverviewWindow::withdrawnModel(OverviewView view) const {
    return page(view).withdrawn;
}

OverviewWindow* OverviewWindow::bringUp(QPointer<OverviewWindow>& window, Session& session, QWidget* parent) {
    if (window) {
        window->reload();
    } else {
        window = new OverviewWindow(session, parent);
    }
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

void OverviewWindow::reload() {
    const QString location = locationNameOf(m_session.bestandenFolder(), m_session.subdir);
    Result<Overview> loaded = Overview::load(m_session.dataFolder(), location);
    if (!loaded) {
        MessageBox::error(this, loaded.error);
        loaded.value = Overview();
        loaded.value.location = location;
    }
    m_overview = std::move(loaded.value);
    m_heading->setText(m_overview.location);
    refresh();
}

void OverviewWindow::refresh() {
    const OverviewFilter filter(m_filter->text());
    m_readers.shown = OverviewTables::visibleReaders(m_overview, filter);
    m_readers.listModel->setTable(OverviewTables::readerList(m_overview, m_readers.shown));
    m_holders.shown = OverviewTables::visibleHolders(m_overview, filter);
    m_holders.listModel->setTable(OverviewTables::holderList(m_overview, m_holders.shown));
    for (OverviewView v : {OverviewView::PerReader, OverviewView::PerHolder}) {
        Page& p = page(v);
        if (!p.shown.isEmpty()) {
            p.list->setCurrentIndex(p.listModel->index(0, 0));
        }
        showDetails(v);
    }
}

void OverviewWindow::showDetails(OverviewView view) {
    Page& p = page(view);
    const int row = p.list->currentIndex().row();
    const int item = row >= 0 && row < p.shown.size() ? p.shown.at(row) : -1;
    if (view == OverviewView::PerReader) {
        const OverviewFilter filter(m_filter->text());
        p.granted->setTable(OverviewTables::holdersOf(m_overview, item, false, filter));
        p.withdrawn->setTable(OverviewTables::holdersOf(m_overview, item, true, filter));
    } else {
        p.granted->setTable(OverviewTables::readersOf(m_overview, item, false));
        p.withdrawn->setTable(OverviewTables::readersOf(m_overview, item, true));
    }
}

QString OverviewWindow::suggestedName(const QString& suffix) const {
    const QString what =
        view() == OverviewView::PerReader ? QStringLiteral("lezers") : QStringLiteral("sleutelhouders");
    QString location = m_overview.location;
    location.replace(QRegularExpression(QStringLiteral("[^\\w-]+")), QStringLiteral("_"));
    return QDir::home().filePath(QStringLiteral("overzicht-%1-%2-%3.%4")
                                     .arg(location, what, m_date.toString(QStringLiteral("yyyy-MM-dd")), suffix));
}

void OverviewWindow::printcmd_Click() {
    const QList<OverviewPrint::Line> lines =
        OverviewPrint::lines(OverviewTables::sections(m_overview, view(), OverviewFilter(m_filter->text())), view());
    const OverviewPrint::Header header{m_overview.location, OverviewExport::viewTitle(view()), m_date};
    FileDialogs::printPreview(this, [this, &lines, &header](QPrinter* printer) {
        if (const Result<int> printed = OverviewPrint::paint(*printer, lines, header); !printed) {
            MessageBox::error(this, printed.error);
        }
    });
}

void OverviewWindow::pdfcmd_Click() {
    const QString path = FileDialogs::saveFileName(this, QStringLiteral("PDF opslaan"),
                                                   suggestedName(QStringLiteral("pdf")), QStringLiteral("PDF (*.pdf)"));
    if (path.isEmpty()) {
        return;
    }
    const QList<OverviewPrint::Line> lines =
        OverviewPrint::lines(OverviewTables::sections(m_overview, view(), OverviewFilter(m_filter->text())), view());
    const Result<int> written =
        OverviewPrint::writePdf(path, lines, {m_overview.location, OverviewExport::viewTitle(view()), m_date});
    if (!written) {
        MessageBox::error(this, written.error);
    }
}

void OverviewWindow::csvcmd_Click() {
    const QString path = FileDialogs::saveFileName(this, QStringLiteral("CSV exporteren"),
                                                   suggestedName(QStringLiteral("csv")), QStringLiteral("CSV (*.csv)"));
    if (path.isEmpty()) {
        return;
    }
    const QByteArray bytes = OverviewExport::csv(m_overview, view(), OverviewFilter(m_filter->text()));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        MessageBox::error(
            this, QStringLiteral("Het bestand %1 kan niet worden geschreven: %2").arg(path, file.errorString()));
    }
}

void OverviewWindow::saveGeometry() {
    if (!m_geometrySaved) {
        m_geometrySaved = true;
        WindowSettings::saveGeometry(this, m_session.settings(), kSection);
    }
}

void OverviewWindow::closeEvent(QCloseEvent* event) {
    saveGeometry();
    event->accept();
}
