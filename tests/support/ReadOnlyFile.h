#pragma once

#include <QString>

// Makes a file refuse to be opened for writing while this lives. The mode bits do it for an ordinary
// user; root passes over them, so there the file system's immutable attribute is set as well. Whether
// it worked is for the test to check (holds()): a file system without the attribute cannot do it for
// root.
class ReadOnlyFile {
public:
    explicit ReadOnlyFile(const QString& path);
    ~ReadOnlyFile();
    ReadOnlyFile(const ReadOnlyFile&) = delete;
    ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

    bool holds() const;

private:
    bool setImmutable(bool on) const;

    QString m_path;
    bool m_immutable = false;
};
