// vrel_autopilot: a full calibration of one channel of the simulated cell,
// driven through the utility's own window as a technician would drive it:
// forms answered, texts typed, each point's value applied to the cell and
// captured, As-Found recorded, the table adjusted, a Verification pass
// captured and recorded.  Screenshots of every step go to a folder.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class MainWindow;
class ModalAnswerer;
class QTextStream;
class QWidget;
struct orv_control;

struct AutopilotOptions {
    QString shots;      // folder for the screenshots; none when empty
    int shot_width = 0; // scale screenshots to this width; 0 keeps them as grabbed
    int channel = 2;    // the drifted demo channel "COOLANT TEMP"
    bool fast = false;  // a few samples per point instead of 5 seconds
    bool debug = false; // the utility's "-d"
    bool help = false;
};

// Reads the command line (without the program name).  False with a
// message in `error` when it cannot be used.
bool parse_autopilot_options(const QStringList &arguments, AutopilotOptions &options,
                             QString &error);
QString autopilot_usage();

// How long a capture may take before it counts as failed: the average
// itself at the cell's tick, one tick more to finish, and a margin.
int capture_timeout_ms(int samples, int tick_ms);

// Numbered picture files in one folder: "03-sensor-form.png".
class ShotFolder
{
  public:
    // False with `error` set when the folder cannot be made.
    bool open(const QString &folder, int width, QString &error);
    bool active() const { return !folder_.isEmpty(); }
    // Saves the widget as the next picture; the path, or empty on failure.
    QString save(QWidget *widget, const QString &name);
    const QStringList &saved() const { return saved_; }
    QString folder() const { return folder_; }

  private:
    QString folder_;
    int width_ = 0;
    int next_ = 1;
    QStringList saved_;
};

class Autopilot : public QObject
{
    Q_OBJECT
  public:
    Autopilot(const AutopilotOptions &options, QTextStream &out, QTextStream &err);
    ~Autopilot() override;

    // Runs the whole calibration; the process's exit status.
    int run();

  private:
    bool step(const QString &name, const std::function<bool()> &body);
    bool fail(const QString &message);
    // Runs the event loop until `done` is true; false after `timeout_ms`.
    bool waitUntil(const std::function<bool()> &done, int timeout_ms);

    bool checkCell();
    bool openWindow();
    bool selectChannel();
    bool enterTexts();
    bool capturePass(const QString &pass);
    bool capturePoint(int index, const QString &pass);
    bool applyToCell(double value);
    bool waitForPublication();
    bool record(bool as_found);
    bool adjust();
    void reportFiles();
    void shoot(const QString &name);

    AutopilotOptions options_;
    QTextStream &out_;
    QTextStream &err_;
    std::unique_ptr<ModalAnswerer> answerer_;
    std::unique_ptr<MainWindow> window_;
    ShotFolder shots_;
    const orv_control *control_ = nullptr;
    QString current_step_;
    QString failure_;
    qint64 started_ = 0; // seconds since the epoch, for the reports of this run
    bool averaging_shot_taken_ = false;
};
