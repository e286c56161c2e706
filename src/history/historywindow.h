// The history program's window: the channel's records, their drift and
// the interval suggestion, and the certificate of the newest calibration.
#pragma once

#include "history_session.h"

#include <QMainWindow>

namespace Ui {
class HistoryWindow;
}

class HistoryWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit HistoryWindow(HistorySession session, QWidget *parent = nullptr);
    ~HistoryWindow() override;
    Ui::HistoryWindow *form() { return ui; }

private slots:
    void on_btnCertificate_clicked();

private:
    Ui::HistoryWindow *ui;
    HistorySession session_;
};

// The text beside the plot: the suggested date and the table's own due date.
QString interval_text(const IntervalSuggestion &interval, const std::optional<ChannelFacts> &channel);
