#include "screens/ChangeLogWindow.h"

#include <QCloseEvent>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <QVBoxLayout>

#include "records/ChangeLog.h"
#include "screens/Mnemonics.h"
#include "screens/Session.h"
#include "screens/WindowSettings.h"

namespace {
const QString kSection = QStringLiteral("logboekfrm");
}  // namespace

ChangeLogWindow::ChangeLogWindow(Session& session, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_session(session),
      m_lines(new QStringListModel(this)),
      m_filtered(new QSortFilterProxyModel(this)),
      m_filter(new QLineEdit(this)),
      m_list(new QListView(this)),
      m_heading(new QLabel(this)),
      m_count(new QLabel(this)) {
    setObjectName(kSection);
    setWindowTitle(QStringLiteral("Logboek"));

    m_filtered->setSourceModel(m_lines);
    m_filtered->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_filter->setObjectName(QStringLiteral("filtertxt"));
    m_filter->setPlaceholderText(QStringLiteral("Filter: naam, nummer, datum of gebruiker"));
    m_filter->setClearButtonEnabled(true);
    m_list->setObjectName(QStringLiteral("logLijst"));
    m_list->setModel(m_filtered);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(true);
    m_heading->setObjectName(QStringLiteral("logboeklbl"));
    m_heading->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_count->setObjectName(QStringLiteral("aantallbl"));

    auto* sluiten = new QPushButton(QStringLiteral("Sluiten"), this);
    sluiten->setObjectName(QStringLiteral("cancelcmd"));
    sluiten->setAutoDefault(false);
    auto* filterRow = new QHBoxLayout;
    filterRow->addWidget(new QLabel(QStringLiteral("Filter:"), this));
    filterRow->addWidget(m_filter, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_count, 1);
    bottom->addWidget(sluiten);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_heading);
    layout->addLayout(filterRow);
    layout->addWidget(m_list, 1);
    layout->addLayout(bottom);

    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_filtered->setFilterFixedString(text.trimmed());
        updateCount();
    });
    connect(sluiten, &QPushButton::clicked, this, &QWidget::close);
    Mnemonics::assign(this);

    WindowSettings::restoreGeometry(this, m_session.settings(), kSection);
    laden();
}

bool ChangeLogWindow::laden() {
    const ChangeLog log(m_session.dataFolder());
    m_heading->setText(QDir::toNativeSeparators(QDir::cleanPath(log.path())));
    const Result<QStringList> lines = log.newestFirst();
    m_readError = lines.error;
    m_lines->setStringList(lines.value);
    updateCount();
    return lines.ok();
}

QStringList ChangeLogWindow::shownLines() const {
    QStringList shown;
    for (int r = 0; r < m_filtered->rowCount(); ++r) {
        shown.append(m_filtered->index(r, 0).data().toString());
    }
    return shown;
}

void ChangeLogWindow::updateCount() {
    if (!m_readError.isEmpty()) {
        m_count->setText(m_readError);
    } else if (m_lines->rowCount() == 0) {
        m_count->setText(QStringLiteral("Nog geen wijzigingen vastgelegd voor deze locatie."));
    } else if (m_filtered->rowCount() == m_lines->rowCount()) {
        m_count->setText(QStringLiteral("%1 regels, nieuwste bovenaan").arg(m_lines->rowCount()));
    } else {
        m_count->setText(QStringLiteral("%1 van %2 regels").arg(m_filtered->rowCount()).arg(m_lines->rowCount()));
    }
}

void ChangeLogWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
        laden();
    }
}

void ChangeLogWindow::closeEvent(QCloseEvent* event) {
    WindowSettings::saveGeometry(this, m_session.settings(), kSection);
    event->accept();
}
