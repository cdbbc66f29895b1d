#pragma once

#include <QRect>
#include <QString>

class QHeaderView;
class QWidget;
class SettingsStore;

// Window geometry and grid column widths are kept in twips (1/1440 inch), so stored settings keep
// their meaning on any screen.
namespace WindowSettings {

int twipsToPixels(double twips, int logicalDpi);
double pixelsToTwips(int pixels, int logicalDpi);

// The three grids raise too-narrow stored widths differently; the differences are kept on purpose.
enum class MinWidthRule {
    EveryColumn,     // "FG1": every column at least 200
    Columns2To4,     // "FG2": only columns 2, 3 and 4; 0, 1 and 5 take any value, zero included
    FirstColumnOnly  // "fg3": only column 0
};
constexpr int kMinColumnTwips = 200;

// The width a column opens at, given the text read for it.
int restoredColumnTwips(MinWidthRule rule, int column, const QString& storedText);

// The width that shows a column's header text whole.
int headerTextPixels(const QHeaderView* header, int column);

// Reads colwidth(first)..colwidth(last) of the section (each with its default) and applies them. A
// column without a stored width opens at least as wide as its header text; a stored one is taken as it
// is, with the rule's minimum.
void restoreColumnWidths(QHeaderView* header, const SettingsStore& store, const QString& section, MinWidthRule rule,
                         int first, int last, const QString& defaultText);
void saveColumnWidths(const QHeaderView* header, SettingsStore& store, const QString& section, int first, int last);

// A window's rectangle in pixels, made to fit the available area: no larger than it, then moved
// inside it.
QRect fitOnScreen(double x, double y, double width, double height, const QRect& available);

// Left, top, height and width of the window's section (defaults 200, 1000, 3500, 9000).
// withLeft false keeps the left edge the windowing system gives, as the access window does. The
// rectangle is fitted to the available area of the screen it is on.
void restoreGeometry(QWidget* window, const SettingsStore& store, const QString& section, bool withLeft = true);
// Writes nothing unless the window is in its normal state; returns whether it wrote.
bool saveGeometry(const QWidget* window, SettingsStore& store, const QString& section);

}  // namespace WindowSettings
