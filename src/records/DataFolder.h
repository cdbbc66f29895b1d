#pragma once

#include <QDate>
#include <QString>

#include "records/Result.h"

class FileOps;

// The start-up file steps: the data folder below the program folder, its creation, and the two
// record files every location needs.
class DataFolder {
public:
    // program folder + "/bestanden".
    static QString bestandenPath(const QString& programFolder);
    // program folder + "/bestanden/" + trimmed subdir; with an empty subdir that is bestanden itself. A
    // folder there whose name differs only in letter case is the one meant, and its name is used.
    static QString path(const QString& programFolder, const QString& subdir);

    // Whether parent holds a folder (not a file) called name, letter case aside.
    static bool bst_find(const QString& parent, const QString& name);

    // Whether subdir may be a location's folder: a name that checkFolderName allows, and not a symbolic
    // link that leads outside bestanden (or nowhere). Refused with a Dutch message that names it.
    static Status checkLocation(const QString& programFolder, const QString& subdir);

    // Makes sure parent holds a folder called name, letter case aside: one whose name differs only in
    // letter case is used as it is (another program may be working in it), a missing one is created.
    // A file in the way, or a folder that cannot be made, gives a Dutch message with the system's text.
    static Status ensureFolder(const QString& parent, const QString& name);

    // Everything the program needs before it shows the reader list: bestanden (under that exact name:
    // a "BESTANDEN" is renamed) and the location's folder (subdir must pass checkLocation), the scratch
    // files a killed run left behind removed, autonoom.bst and asleutel.bst under their exact lower-case
    // names (an "AUTONOOM.BST" is renamed, not replaced), and a missing one of them created: the reader
    // file with its one default reader dated today, the key-holder file with one zero record.
    static Status prepare(const QString& programFolder, const QString& subdir, const QDate& today,
                          FileOps* ops = nullptr);
};

// DataFolder::prepare with the real file system.
Status prepareDataFolder(const QString& programFolder, const QString& subdir, const QDate& today);
