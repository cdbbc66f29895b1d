#include "screens/FileDialogs.h"

#include <QFileDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QStringList>

namespace FileDialogs {

namespace {
bool g_testMode = false;
QStringList g_answers;
QString g_previewOutput;
QStringList g_shown;
}  // namespace

QString saveFileName(QWidget* parent, const QString& caption, const QString& suggested, const QString& filter) {
    if (g_testMode) {
        g_shown.append(caption);
        return g_answers.isEmpty() ? QString() : g_answers.takeFirst();
    }
    return QFileDialog::getSaveFileName(parent, caption, suggested, filter);
}

void printPreview(QWidget* parent, const std::function<void(QPrinter*)>& paint) {
    if (g_testMode) {
        g_shown.append(QStringLiteral("Afdrukvoorbeeld"));
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(g_previewOutput);
        paint(&printer);
        return;
    }
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    QPrintPreviewDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Afdrukvoorbeeld"));
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog, [&paint](QPrinter* p) { paint(p); });
    dialog.exec();
}

void setTestMode(bool on) {
    g_testMode = on;
    g_answers.clear();
    g_shown.clear();
}

void setNextSaveName(const QString& path) {
    g_answers.append(path);
}

void setPreviewOutput(const QString& path) {
    g_previewOutput = path;
}

QStringList takeShown() {
    QStringList shown;
    shown.swap(g_shown);
    return shown;
}

}  // namespace FileDialogs
