#pragma once

#include <QDate>
#include <QString>

#include "records/Result.h"

// A small, made-up data set for trying the program out: two locations with their readers and key
// holders, some keys granted and one withdrawn, some readers waiting for a new programming key.
namespace DemoData {

// The first location's folder below bestanden: where a try-out starts.
QString firstMap();

// Fills programFolder with the demo set. Refused, nothing written, unless the folder exists and is empty:
// the demo must never land among real records.
Status create(const QString& programFolder, const QDate& today);

}  // namespace DemoData
