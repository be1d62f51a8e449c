#include "ActionSounds.h"

#include "base/Defaults.h"
#include "base/Preferences.h"

#ifdef TARNWELL_WITH_CANBERRA
#include <canberra.h>
#endif

namespace ActionSounds {

#ifdef TARNWELL_WITH_CANBERRA
namespace {
ca_context *context()
{
    static ca_context *ctx = [] {
        ca_context *c = nullptr;
        if (ca_context_create(&c) != CA_SUCCESS)
            return static_cast<ca_context *>(nullptr);
        ca_context_change_props(c, CA_PROP_APPLICATION_NAME, "Tarnwell", CA_PROP_APPLICATION_ID, "io.tarnwell.Tarnwell",
                                nullptr);
        return c;
    }();
    return ctx;
}

const char *eventId(Action action)
{
    // Names of the freedesktop sound theme.
    switch (action) {
    case Action::Mount:
        return "device-added";
    case Action::Eject:
        return "device-removed";
    case Action::Pause:
        return "message";
    case Action::CleanUp:
        return "trash-empty";
    }
    return "message";
}
} // namespace
#endif

bool available()
{
#ifdef TARNWELL_WITH_CANBERRA
    return true;
#else
    return false;
#endif
}

void play(const Defaults &defaults, Action action)
{
    if (!defaults.boolean(Preferences::Keys::PlayActionSounds).value_or(false))
        return;
#ifdef TARNWELL_WITH_CANBERRA
    if (ca_context *c = context())
        ca_context_play(c, 0, CA_PROP_EVENT_ID, eventId(action), CA_PROP_EVENT_DESCRIPTION, "Tarnwell action",
                        nullptr);
#else
    Q_UNUSED(action);
#endif
}

} // namespace ActionSounds
