#pragma once

#include "onewire/Clock.h"
#include "onewire/DowIo.h"
#include "onewire/ProbeStack.h"
#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButton.h"

#include <memory>

// The simulated probe with the probe stack over it, both on one clock. The line is not opened.
struct SimulatedProbeStack {
    explicit SimulatedProbeStack(Clock& clock = Clock::steady())
        : SimulatedProbeStack(std::make_unique<SimulatedProbe>(clock), clock) {}

    DowIo& dowIo() { return stack.dowIo(); }
    // A key as "ds1993:06A1B2C3D4E5F6" on the probe; null when the text is not understood.
    VirtualIButton* insertKey(const QString& text, const QByteArray& memory = {}) {
        std::unique_ptr<VirtualIButton> key = VirtualIButton::fromText(text, nullptr);
        if (!key) {
            return nullptr;
        }
        if (!memory.isEmpty()) {
            key->setMemory(memory);
        }
        return probe.insertKey(std::move(key));
    }

    SimulatedProbe& probe;
    ProbeStack stack;

private:
    SimulatedProbeStack(std::unique_ptr<SimulatedProbe> made, Clock& clock)
        : probe(*made), stack(std::move(made), clock) {}
};
