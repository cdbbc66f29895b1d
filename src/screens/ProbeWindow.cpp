#include "screens/ProbeWindow.h"

#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"
#include "programming/ImageBuilder.h"
#include "programming/KeyWriter.h"
#include "programming/ProgrammingImage.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/Session.h"
#include "screens/Ticker.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>

namespace {

const QColor kGreen(0x00, 0xFF, 0x00);
const QColor kRed(0xFF, 0x00, 0x00);

// No probe: a plug with a red bar through it.
QPixmap noProbePixmap() {
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::darkGray, 3));
    painter.drawLine(6, 16, 14, 16);
    painter.drawRect(14, 10, 8, 12);
    painter.drawLine(22, 13, 27, 13);
    painter.drawLine(22, 19, 27, 19);
    painter.setPen(QPen(Qt::red, 3));
    painter.drawLine(4, 28, 28, 4);
    return pixmap;
}

// A probe that answers but holds no key: the probe's round cup, empty, with a dashed key beside it.
QPixmap noKeyPixmap() {
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::darkGray, 3));
    painter.drawEllipse(QPointF(11, 16), 8, 8);
    painter.setPen(QPen(QColor(0x1E, 0x6F, 0xC8), 2, Qt::DashLine));
    painter.drawEllipse(QPointF(25, 9), 4.5, 4.5);
    painter.drawLine(25, 14, 25, 28);
    painter.drawLine(25, 24, 29, 24);
    return pixmap;
}

}  // namespace

ProbeWindow::ProbeWindow(DowIo& dow, const QString& imagePath, bool check1, TickSource* ticks, QWidget* parent)
    : QDialog(parent),
      m_dow(dow),
      m_poller(dow, KeyPoller::Purpose::ProgrammingKey),
      m_imagePath(imagePath),
      m_check1(check1) {
    setObjectName(QStringLiteral("probfrm"));
    setWindowTitle(QStringLiteral("Probe Tarnwick   1.0"));

    m_lezerlbl = new QLabel(this);
    m_lezerlbl->setObjectName(QStringLiteral("lezerlbl"));
    QFont bold = m_lezerlbl->font();
    bold.setBold(true);
    m_lezerlbl->setFont(bold);
    m_lezerlbl->setWordWrap(true);
    m_lezerlbl->hide();

    m_label1 = new QLabel(QStringLiteral("ROM code"), this);
    m_label1->setObjectName(QStringLiteral("label1"));
    m_label2 = new QLabel(QStringLiteral("Type"), this);
    m_label2->setObjectName(QStringLiteral("Label2"));
    m_label3 = new QLabel(QStringLiteral("Family code"), this);
    m_label3->setObjectName(QStringLiteral("Label3"));
    m_label3->setToolTip(QStringLiteral("Family code"));
    m_label4 = new QLabel(this);
    m_label4->setObjectName(QStringLiteral("Label4"));
    m_label4->setAutoFillBackground(true);
    m_label4->setAlignment(Qt::AlignCenter);
    // A refusal says which key to use instead; it must be read whole, not cut at the window edge.
    m_label4->setWordWrap(true);
    m_label4->setMinimumHeight(24);
    m_imgNotConnected = new QLabel(this);
    m_imgNotConnected->setObjectName(QStringLiteral("imgNotConnected"));
    showProbeState(false);
    m_progressBar1 = new QProgressBar(this);
    m_progressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    m_progressBar1->setRange(0, MemoryKey::kPageCount);
    m_progressBar1->setValue(0);
    m_progressBar1->hide();
    m_ladercmd = new QPushButton(QStringLiteral("Opnieuw"), this);
    m_ladercmd->setObjectName(QStringLiteral("ladercmd"));
    m_ladercmd->hide();
    m_command1 = new QPushButton(QStringLiteral("I/O poort instellen"), this);
    m_command1->setObjectName(QStringLiteral("Command1"));
    m_command1->setAutoDefault(false);
    m_ladercmd->setAutoDefault(false);

    auto* layout = new QGridLayout(this);
    layout->addWidget(m_lezerlbl, 0, 0, 1, 3);
    layout->addWidget(m_label1, 1, 0, 1, 2);
    layout->addWidget(m_imgNotConnected, 1, 2, 2, 1, Qt::AlignRight | Qt::AlignTop);
    layout->addWidget(m_label2, 2, 0);
    layout->addWidget(m_label3, 2, 1);
    layout->addWidget(m_label4, 3, 0, 1, 3);
    layout->addWidget(m_progressBar1, 4, 0, 1, 3);
    layout->addWidget(m_ladercmd, 5, 0);
    layout->addWidget(m_command1, 5, 1, 1, 2);
    setMinimumWidth(360);

    m_timer2 = new Ticker(QStringLiteral("Timer2"), m_poller.intervalMs(), false, ticks, this);
    m_timer3 = new Ticker(QStringLiteral("Timer3"), kCloseDelayMs, true, ticks, this);
    connect(m_timer2, &Ticker::timeout, this, &ProbeWindow::Timer2_Timer);
    connect(m_timer3, &Ticker::timeout, this, &ProbeWindow::Timer3_Timer);
    connect(m_ladercmd, &QPushButton::clicked, this, &ProbeWindow::ladercmd_Click);
    connect(m_command1, &QPushButton::clicked, this, &ProbeWindow::portSettingsRequested);
    Mnemonics::assign(this);

    // Form_Load
    m_label1->setText(QStringLiteral("aanbieden Programmeersleutel"));
    m_timer2->start();
}

ProbeWindow::~ProbeWindow() = default;

ProbeWindow::Outcome ProbeWindow::programKey(Session& session, int readerNumber, QWidget* parent,
                                             const std::function<void()>& portDialog) {
    Outcome outcome;
    outcome.readerNumber = readerNumber;
    const SleutelLadenResult built = Sleutel_Laden(session.dataFolder(), readerNumber, session.fileOps);
    if (!built.ok) {
        MessageBox::show(parent, QMessageBox::Warning, QStringLiteral("Programmeersleutel"), built.error);
        return outcome;
    }
    ProbeWindow window(session.dowIo(), built.imagePath, session.check1, session.ticks, parent);
    window.setReader(readerNumber, built.readerName);
    if (portDialog) {
        connect(&window, &ProbeWindow::portSettingsRequested, &window, portDialog);
    }
    // Only the main window waits: the simulated probe's window must stay usable to present the key.
    window.setWindowModality(Qt::WindowModal);
    window.exec();
    outcome.opened = true;
    outcome.written = window.keyWritten();
    outcome.built = built.reader;
    outcome.readerName = built.readerName;
    outcome.keyCount = built.keyCount;
    outcome.runs = window.runs();
    return outcome;
}

void ProbeWindow::setReader(int number, const QString& name) {
    m_lezerlbl->setText(name.isEmpty() ? QStringLiteral("Programmeersleutel voor lezer %1").arg(number)
                                       : QStringLiteral("Programmeersleutel voor lezer %1: %2").arg(number).arg(name));
    m_lezerlbl->show();
}

void ProbeWindow::showProbeState(bool connected) {
    // Drawn once: the state is shown again on every polling tick.
    static const QPixmap noProbe = noProbePixmap();
    static const QPixmap noKey = noKeyPixmap();
    m_imgNotConnected->setPixmap(connected ? noKey : noProbe);
    m_imgNotConnected->setToolTip(connected ? QStringLiteral("geen sleutel") : QStringLiteral("Geen Probe"));
    m_imgNotConnected->show();
}

// A word-wrapped label grows no taller by itself once the window is up: the window grows instead, so a
// refusal is read whole.
void ProbeWindow::setStatusText(const QString& text) {
    m_label4->setText(text);
    layout()->activate();
    const int needed = layout()->totalHeightForWidth(width());
    if (needed > height()) {
        resize(width(), needed);
    }
}

void ProbeWindow::setStatusColor(const QColor& color) {
    QPalette palette = m_label4->palette();
    palette.setColor(QPalette::Window, color);
    m_label4->setPalette(palette);
}

void ProbeWindow::refuse(const QString& why) {
    m_progressBar1->hide();
    setStatusColor(kRed);
    m_ladercmd->show();
    setStatusText(why);
}

void ProbeWindow::Timer2_Timer() {
    if (m_writing) {
        return;
    }
    const KeyPoller::Step step = m_poller.poll();
    switch (step.outcome) {
        case KeyPoller::Outcome::NotConnected:
            showProbeState(false);
            return;
        case KeyPoller::Outcome::NoKey:
            showProbeState(true);
            return;
        case KeyPoller::Outcome::Waiting:
            return;
        case KeyPoller::Outcome::Found:
        case KeyPoller::Outcome::WrongFamily:
            break;
    }
    m_label3->setText(QString::number(step.id.family, 16).toUpper());
    m_label2->setText(step.id.familyName);
    m_label1->setText(step.id.keyCode);
    m_imgNotConnected->hide();

    if (step.outcome == KeyPoller::Outcome::WrongFamily) {
        // Polling goes on: the right key may be touched next.
        refuse(DowIo::wrongFamilyMessage(step.id.family));
        return;
    }
    m_progressBar1->show();
    // The refusal of an earlier key no longer applies; "Opnieuw" comes back only if this run fails.
    m_ladercmd->hide();
    setStatusColor(kGreen);
    m_label4->clear();
    m_label4->setToolTip(QString());
    m_progressBar1->setValue(0);
    m_timer2->stop();
    runWrite();
}

void ProbeWindow::runWrite() {
    QByteArray memory;
    QString error;
    if (!ProgrammingImage::readFile(m_imagePath, &memory, &error)) {
        refuse(QStringLiteral("Sleutelbestand onbruikbaar"));
        MessageBox::show(this, QMessageBox::Warning, windowTitle(), error);
        return;
    }

    // The port dialog would take the line away in the middle of a page.
    m_writing = true;
    m_command1->setEnabled(false);
    QStringList failures;
    KeyWriter writer(m_dow);
    const KeyWriter::Result result = writer.write(
        memory,
        [this, &failures](const KeyWriter::PageReport& report) {
            if (!report.ok) {
                m_progressBar1->hide();
                setStatusColor(kRed);
                m_ladercmd->show();
            } else if (!report.copied) {
                // A copy that found no key is not counted as a failed page; the check afterwards tells.
                m_progressBar1->hide();
            }
            if (!report.ok || !report.copied) {
                failures.append(KeyWriter::pageFailureText(report));
                m_label4->setToolTip(failures.join(QLatin1Char('\n')));
            }
            if (report.round == 0) {
                m_progressBar1->setValue(report.page);
            }
            Q_EMIT pageWritten(report.page, report.ok);
        },
        [] { QCoreApplication::processEvents(); }, m_check1 ? KeyWriter::kRewriteRounds : 0);
    m_writing = false;
    m_command1->setEnabled(true);

    m_progressBar1->hide();
    m_runs.append(result.checkText());
    setStatusText(result.checkText());
    if (result.checkOk()) {
        // Checked good: the key is written, whether the window then closes itself or is closed. A page
        // that failed on the way has been made good since, by a rewrite or by the key already holding it.
        m_keyWritten = true;
        setStatusColor(kGreen);
        m_ladercmd->hide();
    } else {
        setStatusColor(kRed);
        m_label4->setToolTip(result.failureText());
    }
    if (m_closeRequested) {
        m_closeRequested = false;
        reject();
        return;
    }
    if (!result.checkOk()) {
        // A key that demonstrably does not hold the image never lets the reader look programmed.
        m_ladercmd->show();
        return;
    }
    m_timer3->start();
}

void ProbeWindow::Timer3_Timer() {
    if (m_writing) {
        return;
    }
    m_label4->hide();
    m_keyWritten = true;
    m_dow.setInitialised(false);
    accept();
}

void ProbeWindow::ladercmd_Click() {
    if (m_writing) {
        return;
    }
    // Trying again takes back the closing that a finished run had started: the key now being written,
    // not the failed one, decides whether the reader counts as programmed.
    m_timer3->stop();
    m_timer2->start();
    m_ladercmd->hide();
}

void ProbeWindow::done(int result) {
    // The write in progress finishes its pages first; the window closes right after it.
    if (m_writing) {
        m_closeRequested = true;
        return;
    }
    // Form_Unload
    m_dow.setInitialised(false);
    m_timer2->stop();
    m_timer3->stop();
    QDialog::done(result);
}
