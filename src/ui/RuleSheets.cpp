#include "RuleSheets.h"

#include "core/MountEngine.h"
#include "core/VolumeRecord.h"

#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QStyle>

namespace RuleSheets {

QList<ShareChoice> shareChoices(const MountEngine &engine)
{
    QList<ShareChoice> choices;
    for (const VolumeRecord &record : engine.store().records())
        choices.append({record.displayName(), record.internal_ID_Int});
    return choices;
}

QString sharePrompt()
{
    return QCoreApplication::translate("RuleSheets", "Select a volume...");
}

void fillSharePicker(QComboBox *picker, const QList<ShareChoice> &shares)
{
    picker->clear();
    picker->setPlaceholderText(sharePrompt());
    for (const ShareChoice &share : shares)
        picker->addItem(share.name, share.id);
    picker->setCurrentIndex(-1);
}

QIcon icon(Icon which)
{
    const auto themed = [](const char *name, QStyle::StandardPixmap fallback) {
        return QIcon::fromTheme(QLatin1String(name), QApplication::style()->standardIcon(fallback));
    };
    switch (which) {
    case Icon::Run:
        return themed("media-playback-start", QStyle::SP_MediaPlay);
    case Icon::Edit:
        return themed("document-edit", QStyle::SP_FileDialogDetailedView);
    case Icon::Conditions:
        return themed("view-list-details", QStyle::SP_FileDialogListView);
    case Icon::Actions:
        return themed("system-run", QStyle::SP_CommandLink);
    case Icon::Statistics:
        return themed("office-chart-bar", QStyle::SP_FileDialogInfoView);
    case Icon::Delete:
        return themed("edit-delete", QStyle::SP_TrashIcon);
    case Icon::Add:
        return themed("list-add", QStyle::SP_FileDialogNewFolder);
    }
    return {};
}

namespace {
QString withShareName(const QString &summary, const QString &volumeId, const MountEngine &engine)
{
    bool ok = false;
    const qint64 id = volumeId.toLongLong(&ok);
    const VolumeRecord *record = ok ? engine.record(id) : nullptr;
    if (!record)
        return summary;
    return summary + QStringLiteral(" (") + record->displayName() + QLatin1Char(')');
}
} // namespace

QString describe(const RuleCondition &condition, const MountEngine &engine)
{
    const QString summary = condition.summary();
    if (condition.type == RuleCondition::Type::volumeMounted || condition.type == RuleCondition::Type::volumeNotMounted)
        return withShareName(summary, condition.parameter(RuleCondition::kVolumeId), engine);
    return summary;
}

QString describe(const RuleAction &action, const MountEngine &engine)
{
    const QString summary = action.summary();
    if (action.type == RuleAction::Type::mountVolume || action.type == RuleAction::Type::unmountVolume)
        return withShareName(summary, action.parameter(RuleAction::kVolumeId), engine);
    return summary;
}

} // namespace RuleSheets
