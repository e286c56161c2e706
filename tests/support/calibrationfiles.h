// Files a channel needs before a calibration can start, written by hand
// in the formats the utility reads, so that a test reaches the grid without
// the sensor form being forced on it.
#pragma once

#include <QByteArray>
#include <QString>

class SimCell;
class QComboBox;

// A .uut file that names the calibration type, the model and the MTE.
bool write_uut_file(const SimCell &cell, const QString &table);

// A file's whole content; empty when it cannot be read.
QByteArray file_bytes(const QString &path);

// The index of a channel's item in the channel list, by its number alone.
int channel_item(const QComboBox *box, int channel);
