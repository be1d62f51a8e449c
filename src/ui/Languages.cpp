#include "Languages.h"

#include "base/Defaults.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

namespace Languages {

QList<Language> all()
{
    return {
        {QStringLiteral("system"), QCoreApplication::translate("Languages", "System Default"), QString()},
        {QStringLiteral("en"), QStringLiteral("English"), QStringLiteral("English")},
        {QStringLiteral("de"), QStringLiteral("German"), QStringLiteral("Deutsch")},
        {QStringLiteral("fr"), QStringLiteral("French"), QStringLiteral("Français")},
        {QStringLiteral("es"), QStringLiteral("Spanish"), QStringLiteral("Español")},
        {QStringLiteral("zh-Hans"), QStringLiteral("Chinese (Simplified)"), QStringLiteral("中文 (简体)")},
        {QStringLiteral("it"), QStringLiteral("Italian"), QStringLiteral("Italiano")},
        {QStringLiteral("ja"), QStringLiteral("Japanese"), QStringLiteral("日本語")},
        {QStringLiteral("ko"), QStringLiteral("Korean"), QStringLiteral("한국어")},
        {QStringLiteral("ar"), QStringLiteral("Arabic"), QStringLiteral("العربية")},
    };
}

QString current(const Defaults &defaults)
{
    const QString code = defaults.string(kPreferredLanguageKey).value_or(QString());
    return code.isEmpty() ? QStringLiteral("system") : code;
}

void store(Defaults &defaults, const QString &code)
{
    if (code == QLatin1String("system"))
        defaults.remove(kPreferredLanguageKey);
    else
        defaults.setValue(kPreferredLanguageKey, code);
}

QTranslator *install(const Defaults &defaults)
{
    const QString code = current(defaults);
    const QLocale locale = code == QLatin1String("system") ? QLocale::system() : QLocale(code);
    auto *translator = new QTranslator(QCoreApplication::instance());
    // Compiled translations are built into the application as resources (":/i18n/tarnwell_<lang>.qm").
    if (translator->load(locale, QStringLiteral("tarnwell"), QStringLiteral("_"), QStringLiteral(":/i18n"))) {
        QCoreApplication::installTranslator(translator);
        return translator;
    }
    delete translator;
    return nullptr;
}

} // namespace Languages
