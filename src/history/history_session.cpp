#include "history_session.h"

#include <QDir>
#include <QFileInfo>

std::optional<HistorySession> open_history(const QString &table_or_path, QString *error)
{
    HistorySession session;
    session.archive = archive_path_for(table_or_path);
    ArchiveReader reader(session.archive);
    if (!reader.open()) {
        if (error)
            *error = reader.error();
        return std::nullopt;
    }
    session.history = analyse_archive(reader);
    session.damage = reader.damage();
    const QFileInfo archive(session.archive);
    const QString stem = archive.completeBaseName();
    const QDir folder = archive.absoluteDir();
    session.channel = read_channel_facts(folder.filePath(stem + QStringLiteral(".tbl")));
    session.reports = channel_reports(folder.filePath(QStringLiteral("verifications")), stem);
    return session;
}

std::optional<CertificateInput> newest_certificate(const HistorySession &session, const QDate &issued,
                                                   QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<CertificateInput> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    if (!session.channel)
        return fail(QStringLiteral("no readable table beside %1: the sensor's span is not known").arg(session.archive));
    std::optional<Calibration> calibration = newest_calibration(session.reports);
    if (!calibration)
        return fail(QStringLiteral("no As-Left or Re-use report of %1 in its verifications folder")
                        .arg(QFileInfo(session.archive).completeBaseName()));
    return CertificateInput{std::move(*calibration), *session.channel, issued};
}
