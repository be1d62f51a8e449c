#pragma once

// The subsystem managers the views are built over, on in-process fakes, shared by the view tests and the
// screenshots.
#include "GuiHarness.h"

#include "support/DirectoryFakes.h"
#include "support/DiscoveryFakes.h"

#include <QListWidget>

// Discovery on a 192.0.2.37/24 interface whose sweep finds one server, at .10, answering on the SMB and
// AFP ports.
struct DiscoverySetup : DiscoveryFakes
{
    DiscoverySetup()
        : DiscoveryFakes(QStringLiteral("192.0.2.37"),
                         {QStringLiteral("192.0.2.10:445"), QStringLiteral("192.0.2.10:548")}, 200)
    {
    }
};

// The directory mappings over a scripted directory; bind() sets what the directory answers for "dana".
using DirectorySetup = DirectoryFakes;

inline QStringList itemTexts(const QListWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}
