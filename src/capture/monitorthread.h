// The 10 Hz heartbeat of the live display: it only marks the record and
// emits plotInfo; the drawing runs on the GUI thread (MainWindow::draw_plots_info).
#pragma once

#include <QThread>

class QMutex;
struct VREL_CFG;

class monitorThread : public QThread {
    Q_OBJECT
public:
    explicit monitorThread(QMutex *mutex) : mutex_(mutex) {}
    void setInterval(int milliseconds) { interval = milliseconds; }

signals:
    void plotInfo(VREL_CFG *record);

protected:
    void run() override;

private:
    QMutex *mutex_; // kept, never taken: the drawing takes it on the GUI thread
    int interval = 100;
};
