#pragma once

#include <QList>
#include <QString>

class Defaults;
class QTranslator;

// The interface languages offered in the preferences, and where the choice is kept for the next launch
// (the preferences domain, "TWPreferredLanguage"; absent or "system" follows the desktop's locale).
namespace Languages {

inline const QString kPreferredLanguageKey = QStringLiteral("TWPreferredLanguage");

struct Language
{
    QString code;       // "system", "en", "de", ...
    QString englishName;
    QString nativeName; // empty for "system"
};

QList<Language> all();
QString current(const Defaults &defaults); // "system" when unset
void store(Defaults &defaults, const QString &code);

// Installs the translation for the stored choice (or the desktop's locale) into the application; returns
// the translator (owned by the application) or null when English or no translation is shipped.
QTranslator *install(const Defaults &defaults);

} // namespace Languages
