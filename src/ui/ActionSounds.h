#pragma once

class Defaults;

// Short event sounds for Mount, Eject, Pause and Clean Up through the desktop's sound theme, when
// "play_action_sounds" is on. Without the sound library (built without it, or no sound server) nothing
// plays and nothing is reported: sounds are a nicety.
// Thread: main thread (playing is asynchronous in the sound library).
namespace ActionSounds {

enum class Action { Mount, Eject, Pause, CleanUp };

void play(const Defaults &defaults, Action action);
// Whether this build can play sounds at all.
bool available();

} // namespace ActionSounds
