#include "screens/WindowSettings.h"

#include <QHeaderView>
#include <QStyle>
#include <QWidget>
#include <cmath>

#include "screens/SettingsStore.h"

namespace WindowSettings {

namespace {
constexpr double kTwipsPerInch = 1440.0;

QString colwidthKey(int column) {
    return QStringLiteral("colwidth(%1)").arg(column);
}

// A stored number may have leading blanks; anything unreadable counts as 0, so a damaged value never
// stops a window from opening.
double toNumber(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    return ok ? value : 0.0;
}
}  // namespace

int twipsToPixels(double twips, int logicalDpi) {
    return int(std::lround(twips * logicalDpi / kTwipsPerInch));
}

double pixelsToTwips(int pixels, int logicalDpi) {
    return std::round(pixels * kTwipsPerInch / logicalDpi);
}

int restoredColumnTwips(MinWidthRule rule, int column, const QString& storedText) {
    const double value = toNumber(storedText);
    const int twips = value > 2147483647.0    ? 2147483647
                      : value < -2147483648.0 ? -2147483647 - 1
                                              : int(std::lround(value));
    bool raise = false;
    switch (rule) {
        case MinWidthRule::EveryColumn:
            raise = true;
            break;
        case MinWidthRule::Columns2To4:
            raise = column >= 2 && column <= 4;
            break;
        case MinWidthRule::FirstColumnOnly:
            raise = column == 0;
            break;
    }
    if (raise && twips < kMinColumnTwips) {
        return kMinColumnTwips;
    }
    return twips < 0 ? 0 : twips;
}

int headerTextPixels(const QHeaderView* header, int column) {
    const QString text =
        header->model() ? header->model()->headerData(column, header->orientation()).toString() : QString();
    if (text.isEmpty()) {
        return 0;
    }
    const int margin = header->style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, header);
    return header->fontMetrics().horizontalAdvance(text) + 4 * margin;
}

void restoreColumnWidths(QHeaderView* header, const SettingsStore& store, const QString& section, MinWidthRule rule,
                         int first, int last, const QString& defaultText) {
    const int dpi = header->logicalDpiX();
    header->setMinimumSectionSize(0);
    for (int column = first; column <= last && column < header->count(); ++column) {
        const bool stored = store.contains(section, colwidthKey(column));
        const int twips = restoredColumnTwips(rule, column, store.get(section, colwidthKey(column), defaultText));
        header->setSectionHidden(column, twips == 0);
        if (twips > 0) {
            const int pixels = twipsToPixels(twips, dpi);
            header->resizeSection(column, stored ? pixels : qMax(pixels, headerTextPixels(header, column)));
        }
    }
}

void saveColumnWidths(const QHeaderView* header, SettingsStore& store, const QString& section, int first, int last) {
    const int dpi = header->logicalDpiX();
    for (int column = first; column <= last && column < header->count(); ++column) {
        const int pixels = header->isSectionHidden(column) ? 0 : header->sectionSize(column);
        store.save(section, colwidthKey(column), QString::number(pixelsToTwips(pixels, dpi), 'f', 0));
    }
}

void restoreGeometry(QWidget* window, const SettingsStore& store, const QString& section, bool withLeft) {
    const int dpiX = window->logicalDpiX();
    const int dpiY = window->logicalDpiY();
    const float left = float(toNumber(store.get(section, QStringLiteral("startuplft"), QStringLiteral("200"))));
    const float top = float(toNumber(store.get(section, QStringLiteral("startuptop"), QStringLiteral("1000"))));
    const float height = float(toNumber(store.get(section, QStringLiteral("height"), QStringLiteral("3500"))));
    const float width = float(toNumber(store.get(section, QStringLiteral("width"), QStringLiteral("9000"))));
    const int x = withLeft ? twipsToPixels(left, dpiX) : window->x();
    window->move(x, twipsToPixels(top, dpiY));
    window->resize(twipsToPixels(width, dpiX), twipsToPixels(height, dpiY));
}

bool saveGeometry(const QWidget* window, SettingsStore& store, const QString& section) {
    if (window->windowState() & (Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen)) {
        return false;
    }
    const int dpiX = window->logicalDpiX();
    const int dpiY = window->logicalDpiY();
    auto text = [](double twips) { return QString::number(twips, 'f', 0); };
    store.save(section, QStringLiteral("startuplft"), text(pixelsToTwips(window->x(), dpiX)));
    store.save(section, QStringLiteral("startuptop"), text(pixelsToTwips(window->y(), dpiY)));
    store.save(section, QStringLiteral("height"), text(pixelsToTwips(window->height(), dpiY)));
    store.save(section, QStringLiteral("width"), text(pixelsToTwips(window->width(), dpiX)));
    return true;
}

}  // namespace WindowSettings
