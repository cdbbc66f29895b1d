#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>

#include "reports/Overview.h"

// The overview as a script or a spreadsheet takes it.
namespace OverviewExport {

// "Overzicht per lezer" or "Overzicht per sleutelhouder".
QString viewTitle(OverviewView view);

// Plain text, UTF-8 in the caller's hands: a first line with the title, location and date, then each
// section with its granted and withdrawn lists in aligned columns.
QString text(const Overview& overview, OverviewView view, const QDate& date, const OverviewFilter& filter = {},
             int only = 0);

// RFC 4180 with ";" between fields (what a Dutch spreadsheet program splits on), CRLF line ends, UTF-8
// with a byte-order mark. One row per reader and key holder pair, column "Toegang" "ja" or "ingetrokken";
// a reader (or key holder) without any gets one row with the other side left empty.
QByteArray csv(const Overview& overview, OverviewView view, const OverviewFilter& filter = {}, int only = 0);

// One CSV field: quoted when it holds ";", a quote or a line end, quotes doubled.
QString csvField(const QString& value);

}  // namespace OverviewExport
