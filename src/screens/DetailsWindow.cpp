#include "screens/DetailsWindow.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>

#include "onewire/DowIo.h"
#include "programming/KeyCode.h"
#include "screens/KeyHolderDetails.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/Ticker.h"
#include "screens/WindowSettings.h"

namespace {

const QString kSection = QStringLiteral("persoonfrm");
const QString kVolgnummer = QStringLiteral("Volgnummer  ");
const QString kNieuw = QStringLiteral("Nieuw");
const QString kCancel = QStringLiteral("Cancel");
const QString kWaarschuwing = QStringLiteral("Waarschuwing");
constexpr int kKeyCodeChars = 10;

// A key with a question mark: no key code known yet.
QPixmap unknownKeyPixmap() {
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::darkGray, 3));
    painter.drawEllipse(QPointF(9, 16), 6, 6);
    painter.drawLine(15, 16, 26, 16);
    painter.drawLine(22, 16, 22, 21);
    painter.drawLine(26, 16, 26, 21);
    painter.setPen(QPen(Qt::red, 2));
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(14);
    painter.setFont(font);
    painter.drawText(QRect(18, 0, 14, 14), Qt::AlignCenter, QStringLiteral("?"));
    return pixmap;
}

QLineEdit* textBox(const char* name, int width, QWidget* parent) {
    auto* box = new QLineEdit(parent);
    box->setObjectName(QLatin1String(name));
    box->setMaxLength(width);
    return box;
}

QPushButton* button(const char* name, const QString& caption, QWidget* parent) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(QLatin1String(name));
    b->setAutoDefault(false);
    return b;
}

}  // namespace

DetailsWindow::DetailsWindow(Session& session, Mode mode, int record, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_session(session),
      m_file(session.dataFolder(), session.fileOps),
      m_poller(session.dowIo(), KeyPoller::Purpose::KeyCode),
      m_record(record),
      m_naamtxt(textBox("naamtxt", 30, this)),
      m_adrestxt(textBox("adrestxt", 30, this)),
      m_wptxt(textBox("wptxt", 21, this)),
      m_teltxt(textBox("teltxt", 15, this)),
      m_mobtxt(textBox("mobtxt", 15, this)),
      m_romtxt(textBox("Romtxt", kKeyCodeChars, this)),
      m_noROMimg(new QLabel(this)),
      m_vlgnrlbl(new QLabel(this)),
      m_probelbl(new QLabel(this)),
      m_geldigchk(new QCheckBox(QStringLiteral("Geldig"), this)),
      m_romcmd(button("romcmd", QStringLiteral("Vervang Sleutel"), this)),
      m_applycmd(button("Applycmd", QStringLiteral("O.K."), this)),
      m_newcmd(button("Newcmd", kNieuw, this)),
      m_wiscmd(button("wiscmd", QStringLiteral("Wissen"), this)),
      m_timer1(new Ticker(QStringLiteral("Timer1"), KeyPoller::kKeyCodeTickMs, false, session.ticks, this)) {
    setObjectName(kSection);
    setWindowTitle(QStringLiteral("Personalia"));

    // The code comes from the key on the probe, never from the keyboard.
    m_romtxt->setReadOnly(true);
    m_romtxt->setFocusPolicy(Qt::NoFocus);
    m_noROMimg->setObjectName(QStringLiteral("noROMimg"));
    m_noROMimg->setPixmap(unknownKeyPixmap());
    m_noROMimg->setToolTip(QStringLiteral("Sleutel onbekend"));
    m_noROMimg->hide();
    m_vlgnrlbl->setObjectName(QStringLiteral("vlgnrlbl"));
    m_probelbl->setObjectName(QStringLiteral("probelbl"));
    m_probelbl->setStyleSheet(QStringLiteral("color: red"));
    m_probelbl->hide();
    m_geldigchk->setObjectName(QStringLiteral("geldigchk"));

    auto* layout = new QGridLayout(this);
    const std::pair<const char*, const char*> labels[] = {{"naamlbl", "Naam"},
                                                          {"adreslbl", "Adres"},
                                                          {"wplbl", "Woonplaats"},
                                                          {"tellbl", "Telefoon nummer"},
                                                          {"moblbl", "Mobiel nummer"}};
    QLineEdit* boxes[] = {m_naamtxt, m_adrestxt, m_wptxt, m_teltxt, m_mobtxt};
    for (int row = 0; row < 5; ++row) {
        auto* label = new QLabel(QLatin1String(labels[row].second), this);
        label->setObjectName(QLatin1String(labels[row].first));
        label->setBuddy(boxes[row]);
        layout->addWidget(label, row, 0);
        layout->addWidget(boxes[row], row, 1, 1, 2);
    }
    auto* key = new QHBoxLayout;
    key->addWidget(m_romtxt, 1);
    key->addWidget(m_noROMimg);
    layout->addLayout(key, 5, 1, 1, 2);
    layout->addWidget(m_vlgnrlbl, 6, 0, 1, 2);
    layout->addWidget(m_geldigchk, 6, 2);
    layout->addWidget(m_probelbl, 7, 0, 1, 3);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* b : {m_romcmd, m_applycmd, m_newcmd, m_wiscmd}) {
        buttons->addWidget(b);
    }
    layout->addLayout(buttons, 8, 0, 1, 3);
    layout->setRowStretch(9, 1);

    connect(m_timer1, &Ticker::timeout, this, &DetailsWindow::Timer1_Timer);
    connect(m_newcmd, &QPushButton::clicked, this, &DetailsWindow::Newcmd_Click);
    connect(m_applycmd, &QPushButton::clicked, this, &DetailsWindow::Applycmd_Click);
    connect(m_romcmd, &QPushButton::clicked, this, &DetailsWindow::romcmd_Click);
    connect(m_wiscmd, &QPushButton::clicked, this, &DetailsWindow::wiscmd_Click);

    Mnemonics::assign(this);

    // Until a record is read, "Nieuw" starts from a clean record: text blanks and both maps empty.
    m_file.current() = KeyHolder::blank();
    Form_Load(mode);
}

DetailsWindow::~DetailsWindow() {
    Form_Unload();
}

void DetailsWindow::Form_Load(Mode mode) {
    WindowSettings::restoreGeometry(this, m_session.settings(), kSection);
    if (mode == Mode::Search) {
        m_record = 0;
        m_searching = true;
        m_noROMimg->show();
        zoeken();
        return;
    }
    m_vlgnrlbl->setText(m_record > 0 ? KeyHolderDetails::withNumber(kVolgnummer, m_record) : kVolgnummer);
    showRecord();
    if (mode == Mode::New) {
        Newcmd_Click();
    }
}

// The current record into the boxes; without a code of ten characters the window waits for a key.
void DetailsWindow::showRecord() {
    if (m_record == 0) {
        return;
    }
    if (const Status read = m_file.record_load(m_record); !read) {
        MessageBox::error(this, read.error);
        return;
    }
    rememberLoaded();
    const KeyHolderDetails shown = KeyHolderDetails::from(m_file.current());
    m_naamtxt->setText(shown.naam);
    m_adrestxt->setText(shown.adres);
    m_wptxt->setText(shown.woonplaats);
    m_teltxt->setText(shown.telefoon);
    m_mobtxt->setText(shown.mobiel);
    showStoredCode();
    m_geldigchk->setChecked(shown.geldig);
}

void DetailsWindow::rememberLoaded() {
    m_loaded = m_file.current();
    m_loadedCode = m_file.current().keyCode();
}

// The code the current record holds; ten zeros count as none, in the field as well.
void DetailsWindow::showStoredCode() {
    KeyHolder& current = m_file.current();
    const QString code = current.keyCode();
    if (code.isEmpty()) {
        current.setSleutelcode(QString());
    }
    m_romtxt->setText(code);
    if (code.size() == kKeyCodeChars) {
        m_noROMimg->hide();
    } else {
        m_noROMimg->show();
        startCapture();
    }
}

// The design's busy wait for a key is this state: the window stays usable, the end comes from a tick
// that read a key or from "Cancel".
void DetailsWindow::zoeken() {
    m_wiscmd->hide();
    m_applycmd->hide();
    m_romcmd->hide();
    startCapture();
    m_newcmd->setText(kCancel);
}

void DetailsWindow::searchOver() {
    if (m_record <= 0) {
        m_vlgnrlbl->setText(QStringLiteral("Niet in het Systeem"));
        // Nothing is left to cancel: "O.K." closes the window.
        m_newcmd->hide();
        m_applycmd->show();
        return;
    }
    m_vlgnrlbl->setText(KeyHolderDetails::withNumber(QStringLiteral("Gevonden nr "), m_record));
    m_wiscmd->show();
    m_applycmd->show();
    m_romcmd->show();
    stopCapture();
    m_newcmd->setText(kNieuw);
    endSearch();
    showRecord();
}

void DetailsWindow::endSearch() {
    if (m_searching) {
        m_searching = false;
        Q_EMIT searchEnded();
    }
}

void DetailsWindow::startCapture() {
    m_timer1->start();
    m_session.dowIo().setInitialised(false);
}

void DetailsWindow::stopCapture() {
    m_timer1->stop();
    m_session.dowIo().setInitialised(false);
}

void DetailsWindow::showProbeState(bool connected) {
    if (connected) {
        m_probelbl->hide();
        return;
    }
    m_probelbl->setText(
        QStringLiteral("Geen Probe: de poort is dicht of de probe is niet aangesloten. "
                       "Er wordt verder gezocht."));
    m_probelbl->show();
}

void DetailsWindow::Timer1_Timer() {
    m_timer1->stop();
    const KeyPoller::Step step = m_poller.pollTick();
    showProbeState(step.outcome != KeyPoller::Outcome::NotConnected);
    if (step.outcome != KeyPoller::Outcome::Found) {
        m_timer1->start();
        return;
    }
    DowIo& dow = m_session.dowIo();
    // Shortened where it lies, as it always was: whoever reads the layer's string next sees 10 digits.
    dow.setKeyCode(dow.keyCode().right(kKeyCodeChars));
    const QString code = storedKeyCode(dow.keyCode());
    // An all-zero ROM passes its CRC, but its code is the one that means "no key".
    if (KeyHolder::plainKeyCode(code).isEmpty()) {
        m_timer1->start();
        return;
    }
    m_romtxt->setText(code);
    m_noROMimg->hide();

    int found = 0;
    Verifieren(found);
    if (found > 0) {
        if (!m_searching) {
            m_noROMimg->show();
            MessageBox::show(this, QMessageBox::Critical, kWaarschuwing,
                             found == m_record
                                 ? QStringLiteral("Dezelfde sleutel")
                                 : KeyHolderDetails::withNumber(QStringLiteral("In gebruik bij record: "), found));
        }
        showStoredCode();
        m_geldigchk->setChecked(m_file.current().geldig() == QLatin1String("1"));
    }
    if (m_searching && m_noROMimg->isHidden()) {
        searchOver();
    }
}

// found is left as it is when no record holds the code; the current record then holds the file's last
// record, as it always did.
void DetailsWindow::Verifieren(int& found) {
    const Result<int> holder = m_file.findByKeyCode(m_romtxt->text());
    if (!holder) {
        MessageBox::error(this, holder.error);
        return;
    }
    if (holder.value <= 0) {
        return;
    }
    found = holder.value;
    if (m_searching) {
        m_record = found;
    }
    if (m_record > 0) {
        if (const Status read = m_file.record_load(m_record); !read) {
            MessageBox::error(this, read.error);
            return;
        }
        rememberLoaded();
    }
}

void DetailsWindow::romcmd_Click() {
    startCapture();
    m_noROMimg->show();
}

void DetailsWindow::Newcmd_Click() {
    if (m_newcmd->text() == kCancel) {
        stopCapture();
        m_noROMimg->hide();
        endSearch();
        m_newcmd->setText(kNieuw);
        m_applycmd->show();
        return;
    }
    // Written at once, so the holder exists even when the window is closed without "O.K.".
    const Result<int> made = m_file.newRecord();
    if (!made) {
        MessageBox::error(this, made.error);
        return;
    }
    m_record = made.value;
    rememberLoaded();
    m_noROMimg->show();
    m_geldigchk->setChecked(true);
    for (QLineEdit* box : {m_naamtxt, m_adrestxt, m_wptxt, m_teltxt, m_mobtxt, m_romtxt}) {
        box->clear();
    }
    startCapture();
    m_vlgnrlbl->setText(KeyHolderDetails::withNumber(kVolgnummer, m_record));
}

void DetailsWindow::Applycmd_Click() {
    m_session.dowIo().setInitialised(false);
    if (m_record > 0) {
        const KeyHolderDetails details{m_naamtxt->text(), m_adrestxt->text(), m_wptxt->text(),         m_teltxt->text(),
                                       m_mobtxt->text(),  m_romtxt->text(),   m_geldigchk->isChecked()};
        // Another program may have given the key to someone else since it was presented here.
        if (details.sleutelcode != m_loadedCode && !KeyHolder::plainKeyCode(details.sleutelcode).isEmpty()) {
            KeyHolderFile others(m_session.dataFolder(), m_session.fileOps);
            const Result<int> holder = others.findByKeyCode(details.sleutelcode);
            if (!holder) {
                MessageBox::error(this, holder.error);
                return;
            }
            if (holder.value > 0 && holder.value != m_record) {
                MessageBox::show(this, QMessageBox::Critical, kWaarschuwing,
                                 KeyHolderDetails::withNumber(QStringLiteral("In gebruik bij record: "), holder.value));
                return;
            }
        }
        const Result<KeyHolder> saved = m_file.update(
            m_record, [&details](KeyHolder& holder) { details.applyTo(holder); }, m_loaded);
        if (!saved) {
            MessageBox::error(this, saved.error);
            return;
        }
        rememberLoaded();
        m_session.settings().save(QStringLiteral("fg3"), QStringLiteral("toprow"), QString::number(m_record));
    }
    endSearch();
    close();
}

void DetailsWindow::wiscmd_Click() {
    if (m_record <= 0) {
        return;
    }
    const QMessageBox::StandardButton answer =
        MessageBox::show(this, QMessageBox::Critical, QStringLiteral("Sleutel gegevens weggooien"),
                         KeyHolderDetails::withNumber(QStringLiteral("Wissen regel "), m_record),
                         QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes) {
        return;
    }
    if (const Status removed = m_file.remove(m_record, m_loaded); !removed) {
        MessageBox::error(this, removed.error);
        return;
    }
    Q_EMIT recordDeleted(m_record);
    close();
}

void DetailsWindow::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void DetailsWindow::Form_Unload() {
    if (m_unloaded) {
        return;
    }
    m_unloaded = true;
    stopCapture();
    WindowSettings::saveGeometry(this, m_session.settings(), kSection);
    endSearch();
    Q_EMIT closed();
}
