#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "probesim/VirtualIButton.h"

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class SimulatedProbe;

// "Gesimuleerde probe": the user touches the simulated probe with one of a few virtual keys, or with a
// key of their own ROM, and takes it away again. One key at a time, as with a real probe. A memory key
// keeps what was written into it while it is off the probe.
class SimulatedProbeWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int kNoKey = -1;

    explicit SimulatedProbeWindow(SimulatedProbe& probe, QWidget* parent = nullptr);
    ~SimulatedProbeWindow() override;

    // Index of the key on the probe (the last one is the user's own), or kNoKey.
    int touchedKey() const { return m_touched; }
    // Touches the probe with key index (kNoKey takes the key away). False with a message for a user's
    // ROM that cannot be read.
    bool touch(int index, QString* error = nullptr);
    int keyCount() const { return int(m_keys.size()); }

private:
    struct Entry {
        QString label;
        std::unique_ptr<VirtualIButton> stored;  // while off the probe
        VirtualIButton* onProbe = nullptr;
    };

    void takeAway();
    void onChoice(int id);
    void updateStatus();
    int customIndex() const { return int(m_keys.size()) - 1; }

    SimulatedProbe& m_probe;
    std::vector<Entry> m_keys;
    int m_touched = kNoKey;
    QButtonGroup* m_group;
    QComboBox* m_customKind;
    QLineEdit* m_customRom;
    QLabel* m_status;
};
