#pragma once

#include "ShareStatusLabel.h"

#include <QAbstractTableModel>
#include <QList>

class AutoMountScheduler;
class MountEngine;
class VolumeRecord;

// The dashboard's share list over the engine's records, in the store's order. A status change of one
// record (MountEngine::recordChanged) repaints that row only; edits that keep the list of IDs repaint the
// rows in place (the selection stays); additions and removals reset the model. The status label is
// derived on every paint (ShareStatusLabel), never stored.
//
// Thread: main thread. The engine and the scheduler (may be null) outlive the model.
class ShareTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, UrlColumn, LabelColumn, StatusColumn, GroupColumn, ColumnCount };
    enum Role { RecordIdRole = Qt::UserRole + 1, LabelKindRole };

    ShareTableModel(MountEngine &engine, AutoMountScheduler *scheduler, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // Re-reads every record as a model reset (the view drops its cached rows and asks again).
    void reload();

    qint64 idAt(int row) const;
    int rowOf(qint64 id) const;
    ShareStatusLabel::Label labelOf(const VolumeRecord &record) const;

    static QColor colorFor(ShareStatusLabel::Kind kind);

private:
    void onRecordChanged(qint64 id);
    void onRecordsChanged();

    MountEngine &m_engine;
    AutoMountScheduler *m_scheduler;
    QList<qint64> m_ids; // the IDs the view was last told about, in order
};
