#pragma once

#include "rules/RuleAction.h"
#include "rules/RuleCondition.h"

#include <QIcon>
#include <QList>
#include <QString>

class MountEngine;
class QComboBox;

// Helpers shared by the rule views: the share picker, the icons of the rules screen, the lists' texts of a
// condition or action with share names in place of record IDs. Main thread.
namespace RuleSheets {

// The shares a rule can name, in the store's order: (display name, internal ID).
struct ShareChoice
{
    QString name;
    qint64 id = 0;
};
QList<ShareChoice> shareChoices(const MountEngine &engine);

// Fills a picker with the shares (item data: the ID) under the prompt "Select a volume..." (no choice).
void fillSharePicker(QComboBox *picker, const QList<ShareChoice> &shares);
QString sharePrompt();

// The freedesktop icon of a role on the rules screen, with a style icon where the theme has none.
enum class Icon { Run, Edit, Conditions, Actions, Statistics, Delete, Add };
QIcon icon(Icon which);

// One line for lists: the condition's or action's summary; a record ID is followed by the share's name.
QString describe(const RuleCondition &condition, const MountEngine &engine);
QString describe(const RuleAction &action, const MountEngine &engine);

} // namespace RuleSheets
