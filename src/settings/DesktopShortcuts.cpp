#include "settings/DesktopShortcuts.h"

#include "core/Logging.h"
#include "modes/QtKeyTranslation.h"

#include <QFile>
#include <QFileInfo>
#include <QKeySequence>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QXmlStreamReader>

#include <functional>

namespace {

constexpr int gsettingsTimeoutMs = 3000;

// Where GNOME and Cinnamon keep their bindings: whole schemas of accelerators, and user-made
// bindings in relocatable schemas listed under one key.
struct GSettingsLayout
{
    QStringList schemas;
    QString customListSchema;
    QString customListKey;
    QString customSchema;
    QString customPathPrefix; // empty: the list holds whole paths
};

const GSettingsLayout gnomeLayout{
    {QStringLiteral("org.gnome.desktop.wm.keybindings"), QStringLiteral("org.gnome.shell.keybindings"),
     QStringLiteral("org.gnome.mutter.keybindings"), QStringLiteral("org.gnome.settings-daemon.plugins.media-keys")},
    QStringLiteral("org.gnome.settings-daemon.plugins.media-keys"),
    QStringLiteral("custom-keybindings"),
    QStringLiteral("org.gnome.settings-daemon.plugins.media-keys.custom-keybinding"),
    QString(),
};

const GSettingsLayout cinnamonLayout{
    {QStringLiteral("org.cinnamon.desktop.keybindings.wm"), QStringLiteral("org.cinnamon.desktop.keybindings.media-keys")},
    QStringLiteral("org.cinnamon.desktop.keybindings"),
    QStringLiteral("custom-list"),
    QStringLiteral("org.cinnamon.desktop.keybindings.custom-keybinding"),
    QStringLiteral("/org/cinnamon/desktop/keybindings/custom-keybindings/"),
};

// Keys whose settings panel name is not simply the key spelled out.
const QHash<QString, QString> gsettingsNames{
    {QStringLiteral("screensaver"), QStringLiteral("Lock screen")},
    {QStringLiteral("panel-run-dialog"), QStringLiteral("Show the run command prompt")},
    {QStringLiteral("panel-main-menu"), QStringLiteral("Show the overview")},
    {QStringLiteral("toggle-overview"), QStringLiteral("Show the overview")},
    {QStringLiteral("www"), QStringLiteral("Launch web browser")},
    {QStringLiteral("terminal"), QStringLiteral("Launch terminal")},
    {QStringLiteral("home"), QStringLiteral("Home folder")},
    {QStringLiteral("email"), QStringLiteral("Launch email client")},
    {QStringLiteral("control-center"), QStringLiteral("Launch settings")},
    {QStringLiteral("screenshot"), QStringLiteral("Take a screenshot")},
    {QStringLiteral("show-screenshot-ui"), QStringLiteral("Take a screenshot interactively")},
    {QStringLiteral("logout"), QStringLiteral("Log out")},
};

// "switch-to-workspace-1" reads "Switch to workspace 1"; "workspace_1_key" reads "Workspace 1".
QString spelledOut(QString key)
{
    key.replace(QLatin1Char('-'), QLatin1Char(' ')).replace(QLatin1Char('_'), QLatin1Char(' '));
    key = key.simplified();
    if (!key.isEmpty())
        key[0] = key[0].toUpper();
    return key;
}

QString gsettingsActionName(QString key)
{
    // GNOME keeps a fixed hardware-key twin of some bindings under "<key>-static".
    if (key.endsWith(QLatin1String("-static")))
        key.chop(7);
    return gsettingsNames.value(key, spelledOut(key));
}

// The quoted strings of a printed GVariant: "['<Super>1', '<Super>KP_1']" or "'<Super>l'".
QStringList quotedStrings(const QString& value)
{
    static const QRegularExpression quoted(QStringLiteral(R"('((?:[^'\\]|\\.)*)')"));
    QStringList strings;
    for (auto it = quoted.globalMatch(value); it.hasNext();)
        strings << it.next().captured(1).replace(QLatin1String("\\'"), QLatin1String("'"));
    return strings;
}

std::optional<QString> runGSettings(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(gsettingsTimeoutMs))
        return std::nullopt;
    if (!process.waitForFinished(gsettingsTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        return std::nullopt;
    }
    // A schema this desktop version does not have answers with an error; it simply has no bindings.
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput());
}

using KeyValues = QList<std::pair<QString, QString>>;

// The "schema key value" lines of `schema` in what `gsettings list-recursively` prints (it adds
// the schema's children, which are listed on their own).
KeyValues keyValues(const QString& listing, const QString& schema)
{
    KeyValues pairs;
    for (const QString& line : listing.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const qsizetype afterSchema = line.indexOf(QLatin1Char(' '));
        const qsizetype afterKey = line.indexOf(QLatin1Char(' '), afterSchema + 1);
        if (afterSchema < 0 || afterKey < 0 || QStringView(line).left(afterSchema) != schema)
            continue;
        pairs.append({line.mid(afterSchema + 1, afterKey - afterSchema - 1), line.mid(afterKey + 1)});
    }
    return pairs;
}

// GSettings' keyfile backend, used where there is no dconf: one group per settings path
// ("org/gnome/desktop/wm/keybindings"), values printed as GVariant text. It holds only what the
// user changed.
QHash<QString, KeyValues> readKeyfile(const QString& path)
{
    QHash<QString, KeyValues> groups;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return groups;
    KeyValues* group = nullptr;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = &groups[line.mid(1, line.size() - 2)];
        } else if (const qsizetype equals = line.indexOf(QLatin1Char('=')); group && equals > 0) {
            group->append({line.left(equals).trimmed(), line.mid(equals + 1).trimmed()});
        }
    }
    return groups;
}

QString valueOf(const KeyValues& pairs, const QString& key)
{
    for (const auto& [name, value] : pairs) {
        if (name == key)
            return value;
    }
    return {};
}

// Keys spelled the X way in GTK accelerators, given Qt's spelling.
const QHash<QString, QString> gtkKeyNames{
    {QStringLiteral("space"), QStringLiteral("Space")},       {QStringLiteral("BackSpace"), QStringLiteral("Backspace")},
    {QStringLiteral("Delete"), QStringLiteral("Del")},        {QStringLiteral("Escape"), QStringLiteral("Esc")},
    {QStringLiteral("Page_Up"), QStringLiteral("PgUp")},      {QStringLiteral("Page_Down"), QStringLiteral("PgDown")},
    {QStringLiteral("comma"), QStringLiteral(",")},           {QStringLiteral("period"), QStringLiteral(".")},
    {QStringLiteral("minus"), QStringLiteral("-")},           {QStringLiteral("equal"), QStringLiteral("=")},
    {QStringLiteral("slash"), QStringLiteral("/")},           {QStringLiteral("backslash"), QStringLiteral("\\")},
    {QStringLiteral("semicolon"), QStringLiteral(";")},       {QStringLiteral("apostrophe"), QStringLiteral("'")},
    {QStringLiteral("grave"), QStringLiteral("`")},           {QStringLiteral("Above_Tab"), QStringLiteral("`")},
    {QStringLiteral("bracketleft"), QStringLiteral("[")},     {QStringLiteral("bracketright"), QStringLiteral("]")},
    {QStringLiteral("ISO_Left_Tab"), QStringLiteral("Tab")},
};

std::optional<Hotkey> hotkeyOf(const QString& qtKeyName, quint64 modifiers)
{
    if (qtKeyName.isEmpty())
        return std::nullopt;
    const QKeySequence sequence = QKeySequence::fromString(qtKeyName, QKeySequence::PortableText);
    if (sequence.count() != 1)
        return std::nullopt;
    const QKeyCombination combination = sequence[0];
    const auto keyCode = QtKeyTranslation::macKeyCode(int(combination.key()));
    if (!keyCode)
        return std::nullopt;
    return Hotkey{*keyCode, modifiers | QtKeyTranslation::appKitModifiers(combination.keyboardModifiers())};
}

} // namespace

DesktopShortcuts::Sources DesktopShortcuts::Sources::fromEnvironment()
{
    Sources sources;
    sources.configHome = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toUpper().split(QLatin1Char(':'));
    // Cinnamon calls itself "X-Cinnamon"; Ubuntu's session says "ubuntu:GNOME".
    if (desktops.contains(QLatin1String("X-CINNAMON")) || desktops.contains(QLatin1String("CINNAMON")))
        sources.desktop = Desktop::cinnamon;
    else if (desktops.contains(QLatin1String("KDE")))
        sources.desktop = Desktop::kde;
    else if (desktops.contains(QLatin1String("XFCE")))
        sources.desktop = Desktop::xfce;
    else if (desktops.contains(QLatin1String("GNOME")) || desktops.contains(QLatin1String("UNITY")))
        sources.desktop = Desktop::gnome;
    return sources;
}

DesktopShortcuts::DesktopShortcuts(Sources sources)
    : m_sources(std::move(sources))
{
}

QString DesktopShortcuts::desktopName() const
{
    switch (m_sources.desktop) {
    case Desktop::gnome:
        return QStringLiteral("GNOME");
    case Desktop::cinnamon:
        return QStringLiteral("Cinnamon");
    case Desktop::kde:
        return QStringLiteral("KDE");
    case Desktop::xfce:
        return QStringLiteral("Xfce");
    case Desktop::none:
        break;
    }
    return {};
}

QList<DesktopShortcuts::Binding> DesktopShortcuts::read() const
{
    switch (m_sources.desktop) {
    case Desktop::gnome:
    case Desktop::cinnamon:
        return readGSettings();
    case Desktop::kde:
        return readKde();
    case Desktop::xfce:
        return readXfce();
    case Desktop::none:
        break;
    }
    return {};
}

std::optional<Hotkey> DesktopShortcuts::parseGtkAccelerator(const QString& accelerator)
{
    quint64 modifiers = 0;
    QString rest = accelerator.trimmed();
    while (rest.startsWith(QLatin1Char('<'))) {
        const qsizetype close = rest.indexOf(QLatin1Char('>'));
        if (close < 0)
            return std::nullopt;
        const QString name = rest.mid(1, close - 1).toLower();
        rest = rest.mid(close + 1);
        if (name == QLatin1String("primary") || name == QLatin1String("control") || name == QLatin1String("ctrl")
            || name == QLatin1String("ctl"))
            modifiers |= Hotkey::commandFlag;
        else if (name == QLatin1String("shift") || name == QLatin1String("shft"))
            modifiers |= Hotkey::shiftFlag;
        else if (name == QLatin1String("alt") || name == QLatin1String("mod1"))
            modifiers |= Hotkey::optionFlag;
        else if (name == QLatin1String("super") || name == QLatin1String("meta") || name == QLatin1String("mod4"))
            modifiers |= Hotkey::controlFlag;
        else
            return std::nullopt; // Hyper, Release and the like: nothing Tembrel could record
    }
    // Letters come lower case ("<Super>l"); Qt names keys upper case.
    const QString key = gtkKeyNames.value(rest, rest.size() == 1 ? rest.toUpper() : rest);
    return hotkeyOf(key, modifiers);
}

std::optional<Hotkey> DesktopShortcuts::parseKdeShortcut(const QString& shortcut)
{
    const QString text = shortcut.trimmed();
    if (text.isEmpty() || text == QLatin1String("none"))
        return std::nullopt;
    return hotkeyOf(text, 0);
}

QList<DesktopShortcuts::Binding> DesktopShortcuts::readGSettings() const
{
    const GSettingsLayout& layout = m_sources.desktop == Desktop::cinnamon ? cinnamonLayout : gnomeLayout;
    const QString& program = m_sources.gsettingsProgram;
    // The keys of a schema, at its own path or at `path` for a relocatable one.
    std::function<KeyValues(const QString& schema, const QString& path)> keysOf;
    if (!QStandardPaths::findExecutable(program).isEmpty() || QFileInfo(program).isExecutable()) {
        keysOf = [&program](const QString& schema, const QString& path) {
            const QString target = path.isEmpty() ? schema : schema + QLatin1Char(':') + path;
            const auto listing = runGSettings(program, {QStringLiteral("list-recursively"), target});
            return listing ? keyValues(*listing, schema) : KeyValues();
        };
    } else {
        const auto groups = readKeyfile(m_sources.configHome + QStringLiteral("/glib-2.0/settings/keyfile"));
        keysOf = [groups](const QString& schema, const QString& path) {
            QString group = path.isEmpty() ? QString(schema).replace(QLatin1Char('.'), QLatin1Char('/')) : path;
            while (group.startsWith(QLatin1Char('/')))
                group.remove(0, 1);
            while (group.endsWith(QLatin1Char('/')))
                group.chop(1);
            return groups.value(group);
        };
    }

    QList<Binding> bindings;
    const auto addAll = [&bindings](const QString& value, const QString& action) {
        for (const QString& accelerator : quotedStrings(value)) {
            if (const auto hotkey = parseGtkAccelerator(accelerator))
                bindings.append({*hotkey, action});
        }
    };
    QHash<QString, KeyValues> listed;
    for (const QString& schema : layout.schemas) {
        listed.insert(schema, keysOf(schema, QString()));
        for (const auto& [key, value] : listed.value(schema)) {
            if (key != layout.customListKey)
                addAll(value, gsettingsActionName(key));
        }
    }
    if (!listed.contains(layout.customListSchema))
        listed.insert(layout.customListSchema, keysOf(layout.customListSchema, QString()));
    for (const QString& entry : quotedStrings(valueOf(listed.value(layout.customListSchema), layout.customListKey))) {
        const QString path = layout.customPathPrefix.isEmpty() ? entry : layout.customPathPrefix + entry + QLatin1Char('/');
        const KeyValues custom = keysOf(layout.customSchema, path);
        const QString name = quotedStrings(valueOf(custom, QStringLiteral("name"))).value(0);
        addAll(valueOf(custom, QStringLiteral("binding")), name.isEmpty() ? entry : name);
    }
    if (bindings.isEmpty())
        qCInfo(lcHotkey) << "No desktop shortcuts read through" << program;
    return bindings;
}

QList<DesktopShortcuts::Binding> DesktopShortcuts::readKde() const
{
    QFile file(m_sources.configHome + QStringLiteral("/kglobalshortcutsrc"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QList<Binding> bindings;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('[')) || line.startsWith(QLatin1Char('#'))
            || line.startsWith(QLatin1String("_k_friendly_name")))
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals <= 0)
            continue;
        // "active,default,friendly name": several active shortcuts are separated by tabs (written
        // as "\t"), and the friendly name may itself hold commas.
        const QString value = line.mid(equals + 1);
        const qsizetype firstComma = value.indexOf(QLatin1Char(','));
        const qsizetype secondComma = firstComma < 0 ? -1 : value.indexOf(QLatin1Char(','), firstComma + 1);
        if (secondComma < 0)
            continue;
        QString active = value.left(firstComma);
        active.replace(QLatin1String("\\t"), QLatin1String("\t"));
        QString action = value.mid(secondComma + 1).trimmed();
        if (action.isEmpty())
            action = line.left(equals).trimmed();
        for (const QString& shortcut : active.split(QLatin1Char('\t'), Qt::SkipEmptyParts)) {
            if (const auto hotkey = parseKdeShortcut(shortcut))
                bindings.append({*hotkey, action});
        }
    }
    return bindings;
}

QList<DesktopShortcuts::Binding> DesktopShortcuts::readXfce() const
{
    QFile file(m_sources.configHome + QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // channel > (commands | xfwm4) > (default | custom) > one property per accelerator. Xfce uses
    // the custom set in place of the defaults once it exists.
    QHash<QString, QList<Binding>> sets; // "xfwm4/custom" → bindings
    QStringList path;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == QLatin1String("property")) {
            path.removeLast();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("property")) {
            const QString name = xml.attributes().value(QLatin1String("name")).toString();
            const QString value = xml.attributes().value(QLatin1String("value")).toString();
            if (path.size() == 2 && xml.attributes().value(QLatin1String("type")) == QLatin1String("string")) {
                if (const auto hotkey = parseGtkAccelerator(name)) {
                    QString action = value;
                    if (path.first() == QLatin1String("xfwm4")) {
                        action.remove(QRegularExpression(QStringLiteral("_key$")));
                        action = spelledOut(action);
                    }
                    sets[path.join(QLatin1Char('/'))].append({*hotkey, action});
                }
            }
            path.append(name);
        }
    }
    if (xml.hasError())
        qCWarning(lcHotkey) << "Xfce keyboard shortcuts unreadable:" << xml.errorString();
    QList<Binding> bindings;
    for (const QString& group : {QStringLiteral("commands"), QStringLiteral("xfwm4")}) {
        const QString custom = group + QStringLiteral("/custom");
        bindings += sets.contains(custom) ? sets.value(custom) : sets.value(group + QStringLiteral("/default"));
    }
    return bindings;
}
