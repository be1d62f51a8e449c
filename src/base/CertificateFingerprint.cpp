#include "CertificateFingerprint.h"

namespace CertificateFingerprint {

std::optional<QString> normalise(const QString &text)
{
    QString digits;
    digits.reserve(kHexDigits);
    for (const QChar c : text) {
        if (c == QLatin1Char(':') || c.isSpace())
            continue;
        const char16_t u = c.toLower().unicode();
        if (!((u >= u'0' && u <= u'9') || (u >= u'a' && u <= u'f')) || digits.size() == kHexDigits)
            return std::nullopt;
        digits.append(QChar(u));
    }
    if (digits.size() != kHexDigits)
        return std::nullopt;
    return digits;
}

QString invalidText(const QString &field)
{
    return QStringLiteral("%1 must be a SHA-256 fingerprint: 64 hexadecimal digits").arg(field);
}

QString grouped(const QString &sha256, int pairsPerLine)
{
    const QString digits = sha256.toUpper();
    QString text;
    for (int i = 0; i < digits.size(); i += 2) {
        if (i > 0)
            text += pairsPerLine > 0 && (i / 2) % pairsPerLine == 0 ? QStringLiteral(":\n") : QStringLiteral(":");
        text += QStringView(digits).mid(i, 2);
    }
    return text;
}

} // namespace CertificateFingerprint
