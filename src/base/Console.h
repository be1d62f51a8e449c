#pragma once

#include <QString>

#include <functional>

// Console diagnostics: one line each, with a leading symbol and a bracketed area tag
// ("🔍 [MOUNT] Discovering mount point in /Volumes..."). The texts are part of the behaviour, so tests can
// capture them through a sink. Thread-safe.
namespace Console {

void line(const QString &text);

// Replaces the default sink (standard error). Pass an empty function to restore it.
using Sink = std::function<void(const QString &)>;
void setSink(Sink sink);

} // namespace Console
