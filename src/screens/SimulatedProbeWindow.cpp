#include "screens/SimulatedProbeWindow.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>

#include "probesim/SimulatedProbe.h"
#include "screens/MessageBox.h"

namespace {
// Button ids are the key indexes; -1 means "pick one" to a button group.
constexpr int kNoKeyButton = 1000;

using Kind = VirtualIButton::Kind;

struct Preset {
    const char* label;
    Kind kind;
    std::array<uint8_t, 7> familyAndSerial;
};

// Serial numbers made up for the simulation, CRC added on creation.
const Preset kPresets[] = {
    {"DS1990A sleutel 1", Kind::Ds1990A, {0x01, 0x5A, 0x3C, 0x21, 0x0B, 0x00, 0x00}},
    {"DS1990A sleutel 2", Kind::Ds1990A, {0x01, 0x7E, 0x91, 0x44, 0x0B, 0x00, 0x00}},
    {"DS1990A sleutel 3", Kind::Ds1990A, {0x01, 0xC2, 0x08, 0x6D, 0x0B, 0x00, 0x00}},
    {"DS1990 (oud type)", Kind::Ds1990, {0x01, 0x13, 0x57, 0x9B, 0x02, 0x00, 0x00}},
    {"DS1993 programmeersleutel", Kind::Ds1993, {0x06, 0x40, 0x2A, 0x19, 0x00, 0x00, 0x00}},
    {"DS1994 programmeersleutel", Kind::Ds1994, {0x04, 0x88, 0x61, 0x35, 0x00, 0x00, 0x00}},
};
}  // namespace

SimulatedProbeWindow::SimulatedProbeWindow(SimulatedProbe& probe, QWidget* parent)
    : QWidget(parent, Qt::Window), m_probe(probe), m_group(new QButtonGroup(this)) {
    setObjectName(QStringLiteral("simprobefrm"));
    setWindowTitle(QStringLiteral("Gesimuleerde probe"));

    auto* layout = new QGridLayout(this);
    auto* intro = new QLabel(QStringLiteral("Houd een sleutel tegen de probe:"), this);
    layout->addWidget(intro, 0, 0, 1, 3);

    auto* none = new QRadioButton(QStringLiteral("Geen sleutel"), this);
    none->setObjectName(QStringLiteral("geensleutel"));
    none->setChecked(true);
    m_group->addButton(none, kNoKeyButton);
    layout->addWidget(none, 1, 0, 1, 3);

    int row = 2;
    for (const Preset& preset : kPresets) {
        Entry entry;
        entry.stored = VirtualIButton::create(preset.kind, VirtualIButton::romWithCrc(preset.familyAndSerial));
        entry.label = QString::fromLatin1(preset.label);
        const int index = int(m_keys.size());
        auto* button = new QRadioButton(entry.label, this);
        button->setObjectName(QStringLiteral("sleutel%1").arg(index));
        m_group->addButton(button, index);
        layout->addWidget(button, row, 0);
        auto* rom = new QLabel(VirtualIButton::romToHex(entry.stored->rom()), this);
        rom->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(rom, row, 1, 1, 2);
        m_keys.push_back(std::move(entry));
        ++row;
    }

    Entry custom;
    custom.label = QStringLiteral("Eigen sleutel");
    m_keys.push_back(std::move(custom));
    auto* customButton = new QRadioButton(QStringLiteral("Eigen sleutel"), this);
    customButton->setObjectName(QStringLiteral("eigensleutel"));
    m_group->addButton(customButton, customIndex());
    m_customKind = new QComboBox(this);
    m_customKind->setObjectName(QStringLiteral("eigentype"));
    for (Kind kind : {Kind::Ds1990A, Kind::Ds1990, Kind::Ds1993, Kind::Ds1994}) {
        m_customKind->addItem(VirtualIButton::kindName(kind).toUpper(), VirtualIButton::kindName(kind));
    }
    m_customRom = new QLineEdit(this);
    m_customRom->setObjectName(QStringLiteral("eigenrom"));
    m_customRom->setPlaceholderText(QStringLiteral("ROM-code, familiecode eerst (14 of 16 hexcijfers)"));
    m_customRom->setMinimumWidth(m_customRom->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 30);
    layout->addWidget(customButton, row, 0);
    layout->addWidget(m_customKind, row, 1);
    layout->addWidget(m_customRom, row, 2);
    ++row;

    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("status"));
    layout->addWidget(m_status, row, 0, 1, 3);

    connect(m_group, &QButtonGroup::idClicked, this,
            [this](int id) { onChoice(id == kNoKeyButton ? int(kNoKey) : id); });
    // A new ROM typed for the key on the probe: the old key leaves, the new one touches.
    connect(m_customRom, &QLineEdit::returnPressed, this, [this] { onChoice(customIndex()); });
    updateStatus();
}

SimulatedProbeWindow::~SimulatedProbeWindow() {
    takeAway();
}

void SimulatedProbeWindow::takeAway() {
    if (m_touched == kNoKey) {
        return;
    }
    Entry& entry = m_keys[m_touched];
    entry.stored = m_probe.removeKey(entry.onProbe);
    entry.onProbe = nullptr;
    m_touched = kNoKey;
}

bool SimulatedProbeWindow::touch(int index, QString* error) {
    takeAway();
    if (index < 0 || index >= keyCount()) {
        updateStatus();
        return index == kNoKey;
    }
    Entry& entry = m_keys[index];
    if (index == customIndex()) {
        const QString text = m_customKind->currentData().toString() + QLatin1Char(':') + m_customRom->text().trimmed();
        std::unique_ptr<VirtualIButton> typed = VirtualIButton::fromText(text, error);
        if (!typed) {
            updateStatus();
            return false;
        }
        // The same key touched again keeps what was written into it.
        if (!entry.stored || entry.stored->kind() != typed->kind() || entry.stored->rom() != typed->rom()) {
            entry.stored = std::move(typed);
        }
    }
    entry.onProbe = m_probe.insertKey(std::move(entry.stored));
    m_touched = index;
    updateStatus();
    return true;
}

void SimulatedProbeWindow::onChoice(int id) {
    QString error;
    if (!touch(id, &error)) {
        MessageBox::error(this, error);
    }
    const QSignalBlocker blocker(m_group);
    if (QAbstractButton* button = m_group->button(m_touched == kNoKey ? kNoKeyButton : m_touched)) {
        button->setChecked(true);
    }
}

void SimulatedProbeWindow::updateStatus() {
    if (m_touched == kNoKey) {
        m_status->setText(QStringLiteral("Er ligt geen sleutel op de probe."));
        return;
    }
    const VirtualIButton* key = m_keys[m_touched].onProbe;
    m_status->setText(QStringLiteral("Op de probe: %1 (%2)")
                          .arg(VirtualIButton::kindName(key->kind()).toUpper(), VirtualIButton::romToHex(key->rom())));
}
