#include "Console.h"

#include <QMutex>

#include <cstdio>

namespace {
QMutex s_mutex;
Console::Sink s_sink;
} // namespace

namespace Console {

void line(const QString &text)
{
    QMutexLocker lock(&s_mutex);
    if (s_sink) {
        s_sink(text);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, static_cast<size_t>(utf8.size()), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

void setSink(Sink sink)
{
    QMutexLocker lock(&s_mutex);
    s_sink = std::move(sink);
}

} // namespace Console
