#include "historywindow.h"

#include "certificate.h"
#include "drift_plot.h"
#include "drifts_model.h"
#include "records_model.h"

#include "ui_historywindow.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>

namespace {

void show_rows(QTableView *view, QAbstractItemModel *model)
{
    view->setModel(model);
    // Sized from the first rows: a long archive is not measured row by row.
    view->horizontalHeader()->setResizeContentsPrecision(50);
    view->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    view->horizontalHeader()->setStretchLastSection(true);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
}

QString damage_text(const std::vector<ArchiveDamage> &damage)
{
    if (damage.empty())
        return {};
    QStringList lines;
    for (size_t i = 0; i < damage.size() && i < 5; ++i)
        lines << QStringLiteral("line %1: %2").arg(damage[i].line).arg(damage[i].reason);
    QString text = QStringLiteral("%1 damaged record(s) skipped: %2").arg(damage.size()).arg(lines.join(QStringLiteral("; ")));
    if (damage.size() > 5)
        text += QStringLiteral("; ...");
    return text;
}

} // namespace

QString interval_text(const IntervalSuggestion &interval, const std::optional<ChannelFacts> &channel)
{
    const QString due = channel && channel->due.isValid() ? channel->due.toString(Qt::ISODate)
                                                          : QStringLiteral("not known");
    if (!interval.known)
        return QStringLiteral("Interval: not enough As-Found drift to suggest one. Current due date: %1.").arg(due);
    return QStringLiteral("Suggested next calibration (a suggestion only, not written to the table): %1, when the "
                          "drift of %2 % of span a year would reach the adjustment limit of %3 % since the As-Left "
                          "of %4. Current due date: %5.")
        .arg(interval.suggested.toString(Qt::ISODate))
        .arg(interval.slope_pct_per_day * 365.25, 0, 'f', 3)
        .arg(interval.limit_pct)
        .arg(interval.last_as_left.toString(Qt::ISODate), due);
}

HistoryWindow::HistoryWindow(HistorySession session, QWidget *parent)
    : QMainWindow(parent), ui(new Ui::HistoryWindow), session_(std::move(session))
{
    ui->setupUi(this);
    const ChannelHistory &history = session_.history;
    ui->lblChannel->setText(QStringLiteral("%1 (%2): %3 records")
                                .arg(history.table.isEmpty() ? QFileInfo(session_.archive).completeBaseName()
                                                             : history.table,
                                     QDir::toNativeSeparators(session_.archive))
                                .arg(history.records.size()));
    show_rows(ui->tblRecords, new RecordsModel(session_.history.records, this));
    show_rows(ui->tblDrifts, new DriftsModel(session_.history.drifts, history.table_units, this));
    draw_drift(ui->driftPlot, history);
    ui->lblInterval->setText(interval_text(history.interval, session_.channel));
    ui->lblDamage->setText(damage_text(session_.damage));
    ui->lblDamage->setVisible(!session_.damage.empty());
}

HistoryWindow::~HistoryWindow()
{
    delete ui;
}

void HistoryWindow::on_btnCertificate_clicked()
{
    QString error;
    const std::optional<CertificateInput> input = newest_certificate(session_, QDate::currentDate(), &error);
    if (!input) {
        QMessageBox::warning(this, QStringLiteral("Certificate"), QStringLiteral("No certificate: %1.").arg(error));
        return;
    }
    const QString suggested = QDir::home().filePath(certificate_number(*input) + QStringLiteral(".pdf"));
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Write Certificate"), suggested,
                                                      QStringLiteral("PDF (*.pdf)"));
    if (path.isEmpty())
        return;
    if (!write_certificate_pdf(path, *input, &error))
        QMessageBox::warning(this, QStringLiteral("Certificate"), QStringLiteral("No certificate: %1.").arg(error));
    else
        QMessageBox::information(this, QStringLiteral("Certificate"),
                                 QStringLiteral("Certificate %1 written to %2.").arg(certificate_number(*input), path));
}
