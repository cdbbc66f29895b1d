#include "screens/WindowSettings.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QStyle>
#include <QWidget>
#include <algorithm>
#include <cmath>

#include "screens/SettingsStore.h"

namespace WindowSettings {

namespace {
constexpr double kTwipsPerInch = 1440.0;

QString colwidthKey(int column) {
    return QStringLiteral("colwidth(%1)").arg(column);
}

// A stored number may have leading blanks; anything unreadable counts as 0, so a damaged value never
// stops a window from opening. "inf" and "nan" read as numbers but are no size.
double toNumber(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0.0;
}

double twipsToPixelsExact(double twips, int logicalDpi) {
    return twips * logicalDpi / kTwipsPerInch;
}

// The usable area of the screen a point is on, or of the widget's own screen when no screen holds it.
QRect availableArea(const QWidget* widget, QPointF point) {
    const QPoint inRange(int(std::clamp(point.x(), -1e9, 1e9)), int(std::clamp(point.y(), -1e9, 1e9)));
    const QScreen* screen = QGuiApplication::screenAt(inRange);
    if (!screen) {
        screen = widget->screen() ? widget->screen() : QGuiApplication::primaryScreen();
    }
    return screen ? screen->availableGeometry() : QRect(0, 0, 1024, 768);
}

// Each edge of [from, from + length) pulled inside [low, low + room): the length first, then the start.
std::pair<int, int> fitSpan(double from, double length, int low, int room) {
    room = std::max(room, 0);
    const int fitted = int(std::lround(std::clamp(length, 0.0, double(room))));
    const int start = int(std::lround(std::clamp(from, double(low), double(low + room - fitted))));
    return {start, fitted};
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

QRect fitOnScreen(double x, double y, double width, double height, const QRect& available) {
    const auto [left, fittedWidth] = fitSpan(x, width, available.left(), available.width());
    const auto [top, fittedHeight] = fitSpan(y, height, available.top(), available.height());
    return QRect(left, top, fittedWidth, fittedHeight);
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
    // No column is wider than the screen: a wider one could only be scrolled through.
    const int widest = std::max(availableArea(header, header->mapToGlobal(QPoint(0, 0))).width(), 1);
    header->setMinimumSectionSize(0);
    for (int column = first; column <= last && column < header->count(); ++column) {
        const bool stored = store.contains(section, colwidthKey(column));
        const int twips = restoredColumnTwips(rule, column, store.get(section, colwidthKey(column), defaultText));
        header->setSectionHidden(column, twips == 0);
        if (twips > 0) {
            const int pixels = int(std::lround(std::min(twipsToPixelsExact(twips, dpi), double(widest))));
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
    const double x = withLeft ? twipsToPixelsExact(left, dpiX) : window->x();
    const double y = twipsToPixelsExact(top, dpiY);
    // Kept on the screen it names: a hand-edited or damaged size (width=2147483648) would otherwise ask
    // for a window far larger than memory, and be saved back at the next close.
    const QRect fitted = fitOnScreen(x, y, twipsToPixelsExact(width, dpiX), twipsToPixelsExact(height, dpiY),
                                     availableArea(window, QPointF(x, y)));
    window->move(fitted.topLeft());
    window->resize(fitted.size());
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
