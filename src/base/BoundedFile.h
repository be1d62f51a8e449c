#pragma once

#include <QByteArray>
#include <QString>

// Reading a file that came from outside (a store's own file that anything may have replaced, an import, a
// profile) with an upper bound on its size, so that a huge or endless file cannot exhaust memory before a
// parser even sees it. The bounds are far above what the application itself writes.
//
// Reentrant; blocks on the file, so callers on the main thread use it only for local files.
namespace BoundedFile {

inline constexpr qint64 kStoreLimit = 256LL << 20;  // preferences (10,000 shares are ~14 MB), legacy archives
inline constexpr qint64 kLogLimit = 64LL << 20;     // the audit log (10,000 entries are ~5 MB)
inline constexpr qint64 kImportLimit = 64LL << 20;  // rules, configuration and set files, share CSV

struct Content
{
    bool ok = false;
    QByteArray bytes;
    QString error;         // when not ok: why, for a console line or a refusal
    bool tooLarge = false; // the file exists and is readable but exceeds the bound
};

Content read(const QString &path, qint64 maxBytes);

// "larger than N bytes": the text every reader uses for an over-limit file.
QString tooLargeText(qint64 maxBytes);

} // namespace BoundedFile
