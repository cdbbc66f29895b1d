#include "screens/ProbeWindow.h"

#include "onewire/DowIo.h"
#include "programming/ImageBuilder.h"
#include "programming/KeyWriter.h"
#include "programming/ProgrammingImage.h"
#include "screens/MessageBox.h"
#include "screens/Session.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

namespace {

const QColor kGreen(0x00, 0xFF, 0x00);
const QColor kRed(0xFF, 0x00, 0x00);

// A plug with a red bar through it: no probe, or no key on it.
QPixmap notConnectedPixmap() {
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

}  // namespace

ProbeWindow::ProbeWindow(DowIo& dow, const QString& imagePath, bool check1, bool* keyWrittenFlag, QWidget* parent)
    : QDialog(parent), m_dow(dow), m_imagePath(imagePath), m_check1(check1), m_keyWrittenFlag(keyWrittenFlag) {
    setObjectName(QStringLiteral("probfrm"));
    setWindowTitle(QStringLiteral("Probe Tarnwick   1.0"));

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
    m_imgNotConnected->setPixmap(notConnectedPixmap());
    m_imgNotConnected->setToolTip(QStringLiteral("Geen Probe"));
    m_progressBar1 = new QProgressBar(this);
    m_progressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    m_progressBar1->setRange(0, DowIo::kPageCount);
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
    layout->addWidget(m_label1, 0, 0, 1, 2);
    layout->addWidget(m_imgNotConnected, 0, 2, 2, 1, Qt::AlignRight | Qt::AlignTop);
    layout->addWidget(m_label2, 1, 0);
    layout->addWidget(m_label3, 1, 1);
    layout->addWidget(m_label4, 2, 0, 1, 3);
    layout->addWidget(m_progressBar1, 3, 0, 1, 3);
    layout->addWidget(m_ladercmd, 4, 0);
    layout->addWidget(m_command1, 4, 1, 1, 2);
    setMinimumWidth(360);

    m_timer2 = new QTimer(this);
    m_timer2->setObjectName(QStringLiteral("Timer2"));
    m_timer2->setInterval(kPollIntervalMs);
    m_timer3 = new QTimer(this);
    m_timer3->setObjectName(QStringLiteral("Timer3"));
    m_timer3->setInterval(kCloseDelayMs);
    m_timer3->setSingleShot(true);
    connect(m_timer2, &QTimer::timeout, this, &ProbeWindow::Timer2_Timer);
    connect(m_timer3, &QTimer::timeout, this, &ProbeWindow::Timer3_Timer);
    connect(m_ladercmd, &QPushButton::clicked, this, &ProbeWindow::ladercmd_Click);
    connect(m_command1, &QPushButton::clicked, this, &ProbeWindow::portSettingsRequested);

    // Form_Load
    m_label1->setText(QStringLiteral("aanbieden Programmeersleutel"));
    m_timer2->start();
}

ProbeWindow::~ProbeWindow() = default;

bool ProbeWindow::programKey(Session& session, int readerNumber, QWidget* parent,
                             const std::function<void()>& portDialog) {
    const SleutelLadenResult built = Sleutel_Laden(session.dataFolder(), readerNumber, session.fileOps);
    if (!built.ok) {
        MessageBox::show(parent, QMessageBox::Warning, QStringLiteral("Programmeersleutel"), built.error);
        return false;
    }
    ProbeWindow window(session.dowIo(), built.imagePath, session.check1.trimmed() == QLatin1String("1"),
                       &session.keyWritten, parent);
    if (portDialog) {
        connect(&window, &ProbeWindow::portSettingsRequested, &window, portDialog);
    }
    // Only the main window waits: the simulated probe's window must stay usable to present the key.
    window.setWindowModality(Qt::WindowModal);
    window.exec();
    return true;
}

void ProbeWindow::setStatusColor(const QColor& color) {
    QPalette palette = m_label4->palette();
    palette.setColor(QPalette::Window, color);
    m_label4->setPalette(palette);
}

void ProbeWindow::refuse(const QString& why) {
    m_progressBar1->hide();
    setStatusColor(kRed);
    m_label4->setText(why);
    m_ladercmd->show();
}

void ProbeWindow::Timer2_Timer() {
    if (m_writing) {
        return;
    }
    const DowIo::Identification id = m_dow.identifyProbe();
    switch (id.status) {
        case DowIo::Identification::NotConnected:
            m_imgNotConnected->setToolTip(QStringLiteral("Geen Probe"));
            m_imgNotConnected->show();
            return;
        case DowIo::Identification::NoKey:
            m_imgNotConnected->setToolTip(QStringLiteral("geen sleutel"));
            return;
        case DowIo::Identification::Ok:
            break;
        default:
            return;
    }
    m_label3->setText(QString::number(id.family, 16).toUpper());
    m_label2->setText(id.familyName);
    m_label1->setText(id.keyCode);
    m_imgNotConnected->hide();

    if (!DowIo::isProgrammingKey(id.family)) {
        // Polling goes on: the right key may be touched next.
        refuse(DowIo::wrongFamilyMessage(id.family));
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
                failures.append(QStringLiteral("Pagina %1: %2").arg(report.page).arg(report.error));
                m_label4->setToolTip(failures.join(QLatin1Char('\n')));
            }
            m_progressBar1->setValue(report.page);
            Q_EMIT pageWritten(report.page, report.ok);
        },
        [] { QCoreApplication::processEvents(); });
    m_writing = false;
    m_command1->setEnabled(true);

    m_progressBar1->hide();
    m_label4->setText(result.checkText());
    if (!result.checkOk()) {
        setStatusColor(kRed);
        if (!result.readError.isEmpty()) {
            failures.append(result.readError);
        } else {
            QStringList pages;
            for (int page : result.differingPages) {
                pages.append(QString::number(page));
            }
            failures.append(QStringLiteral("Afwijkende pagina's: %1").arg(pages.join(QStringLiteral(", "))));
        }
        m_label4->setToolTip(failures.join(QLatin1Char('\n')));
    }
    if (m_closeRequested) {
        m_closeRequested = false;
        reject();
        return;
    }
    if (m_check1 && !result.checkOk()) {
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
    if (m_keyWrittenFlag) {
        *m_keyWrittenFlag = true;
    }
    m_dow.setInitialised(false);
    Q_EMIT keyWritten();
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
