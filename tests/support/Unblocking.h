#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <QByteArray>
#include <QFile>
#include <QString>
#include <QtGlobal>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "records/Result.h"

namespace unblocking {

// Long enough for any file operation of the tests to end on a loaded machine.
constexpr std::chrono::seconds kBlockedAfter{15};
constexpr int kFreeingAttempts = 500;

// Runs work on a thread of its own. Should it block on the FIFO at fifo (in its open, or in a read or
// write), the FIFO is fed and drained from here to free it, and the call counts as blocked; one that
// cannot be freed ends the test program. result gets what work returned.
inline bool returnsWithoutBlocking(const std::function<Status()>& work, const QString& fifo, Status* result) {
    auto promise = std::make_shared<std::promise<Status>>();
    std::future<Status> done = promise->get_future();
    std::thread([promise, work] { promise->set_value(work()); }).detach();
    if (done.wait_for(kBlockedAfter) == std::future_status::ready) {
        *result = done.get();
        return true;
    }
    const QByteArray path = QFile::encodeName(fifo);
    const QByteArray filler(4096, '\0');
    char drain[4096];
    for (int attempt = 0;
         attempt < kFreeingAttempts && done.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready;
         ++attempt) {
        const int in = ::open(path.constData(), O_WRONLY | O_NONBLOCK);
        if (in >= 0) {
            (void)!::write(in, filler.constData(), size_t(filler.size()));
            ::close(in);
        }
        const int out = ::open(path.constData(), O_RDONLY | O_NONBLOCK);
        if (out >= 0) {
            while (::read(out, drain, sizeof drain) > 0) {
            }
            ::close(out);
        }
    }
    if (done.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        qFatal("blocked on the FIFO %s for good", path.constData());
    }
    *result = done.get();
    return false;
}

}  // namespace unblocking
