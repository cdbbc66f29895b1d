#include "screens/PlaceholderWindow.h"

#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

PlaceholderWindow::PlaceholderWindow(const QString& objectName, const QString& caption, QWidget* parent)
    : QWidget(parent, Qt::Window), m_heading(new QLabel(this)) {
    setObjectName(objectName);
    setWindowTitle(caption);
    m_heading->setObjectName(QStringLiteral("heading"));
    QFont bold = m_heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.3);
    m_heading->setFont(bold);
    m_heading->hide();

    auto* text = new QLabel(QStringLiteral("Dit venster komt in een volgende versie."), this);
    auto* close = new QPushButton(QStringLiteral("Sluiten"), this);
    close->setObjectName(QStringLiteral("sluitbtn"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_heading);
    layout->addWidget(text);
    layout->addStretch();
    layout->addWidget(close, 0, Qt::AlignRight);
    resize(420, 160);
}

void PlaceholderWindow::setHeading(const QString& heading) {
    m_heading->setText(heading);
    m_heading->setVisible(!heading.isEmpty());
}

QString PlaceholderWindow::heading() const {
    return m_heading->text();
}

void PlaceholderWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    Q_EMIT closed();
}
