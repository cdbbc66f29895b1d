#pragma once

#include <QString>
#include <utility>

// What a fallible operation of the record layer gives back: ok, or a Dutch message that names the file
// and ends in the system's own text. Marked nodiscard: a lost error would be a record silently not saved.
struct [[nodiscard]] Status {
    QString error;
    // The record on disk is no longer the one the window loaded (another program changed the file):
    // nothing was written, and the window must read the file again.
    bool conflict = false;

    bool ok() const { return error.isEmpty(); }
    explicit operator bool() const { return ok(); }

    // An empty message still fails: the system gave no text, not the all-clear.
    static Status failure(const QString& message) {
        return Status{message.isEmpty() ? QStringLiteral("Onbekende fout.") : message};
    }
    static Status conflictWith(const QString& message) { return Status{failure(message).error, true}; }
};

// A value, or why there is none. A failed Status of any kind converts to a failed Result.
template <typename T>
struct [[nodiscard]] Result : Status {
    T value{};

    Result() = default;
    Result(T v) : value(std::move(v)) {}
    Result(Status failed) : Status(std::move(failed)) {}
};
