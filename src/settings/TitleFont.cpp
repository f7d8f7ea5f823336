#include "settings/TitleFont.h"

#include "core/Logging.h"

#include <QFontDatabase>
#include <QStringList>

namespace {

QString loadTitleFont()
{
    const int id = QFontDatabase::addApplicationFont(QStringLiteral(":/Tembrel/settings/fonts/Pacifico-Regular.woff"));
    const QStringList families = id >= 0 ? QFontDatabase::applicationFontFamilies(id) : QStringList();
    if (!families.isEmpty())
        return families.first();
    // Without it the title falls back to a script face rather than the body font.
    qCWarning(lcSettings) << "Pacifico could not be loaded; the title uses a script font";
    return QStringLiteral("URW Chancery L");
}

} // namespace

QString titleFontFamily()
{
    static const QString family = loadTitleFont();
    return family;
}
