#pragma once

#include <QDate>
#include <QString>

class FileOps;

// The start-up file steps: the data folder below the program folder, its creation, and the two
// record files every location needs.
class DataFolder {
public:
    // program folder + "/bestanden".
    static QString bestandenPath(const QString& programFolder);
    // program folder + "/bestanden/" + trimmed subdir; with an empty subdir that is bestanden itself.
    static QString path(const QString& programFolder, const QString& subdir);

    // Whether parent holds a folder (not a file) called name, letter case aside.
    static bool bst_find(const QString& parent, const QString& name);

    // Makes sure parent/name is a folder with exactly that name: a folder whose name differs only in
    // letter case is renamed to it, a missing one is created. A file in the way, or a folder that
    // cannot be made, gives a Dutch message with the system's text.
    static bool ensureFolder(const QString& parent, const QString& name, QString* error, FileOps* ops = nullptr);

    // Everything the program needs before it shows the reader list: bestanden and the sub-folder
    // (subdir must pass checkFolderName), autonoom.bst and asleutel.bst under their exact lower-case
    // names (an "AUTONOOM.BST" is renamed, not replaced), and a missing one of them created: the
    // reader file with its one default reader dated today, the key-holder file with one zero record.
    static bool prepare(const QString& programFolder, const QString& subdir, const QDate& today, QString* error,
                        FileOps* ops = nullptr);
};

// DataFolder::prepare with the real file system.
bool prepareDataFolder(const QString& programFolder, const QString& subdir, const QDate& today, QString* error);
