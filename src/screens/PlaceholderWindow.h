#pragma once

#include <QWidget>

class QLabel;

// Stands in for a window that is not there yet: its caption, an optional heading and a line saying
// it comes later. Tells when it is closed, so the main window can come back.
class PlaceholderWindow : public QWidget {
    Q_OBJECT

public:
    PlaceholderWindow(const QString& objectName, const QString& caption, QWidget* parent = nullptr);

    void setHeading(const QString& heading);
    QString heading() const;

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* m_heading;
};
