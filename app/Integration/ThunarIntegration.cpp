#include "ThunarIntegration.h"

#include "ConversionError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace tramix::ThunarIntegration {

namespace {

using MenuEntries::MenuEntry;

const QString idPrefix = QStringLiteral("tramix-");

// The actions of a uca.xml, each as written back by QXmlStreamWriter, with their unique ids.
struct Action {
    QString uniqueId;
    QByteArray xml;
};

struct Parsed {
    QList<Action> actions;
};

[[noreturn]] void unreadable(const QString& path) {
    throw ConversionError::failed(
        QStringLiteral("Die Datei %1 ist keine lesbare Liste von Thunar-Aktionen und bleibt "
                       "unverändert; nichts wurde eingerichtet.")
            .arg(QDir::toNativeSeparators(path)));
}

// Copies one <action> element from the reader, which stands on its start.
Action copyAction(QXmlStreamReader& reader) {
    Action action;
    QXmlStreamWriter writer(&action.xml);
    int depth = 0;
    QString element;
    do {
        if (reader.isStartElement()) {
            ++depth;
            element = reader.name().toString();
        } else if (reader.isEndElement()) {
            --depth;
        } else if (reader.isCharacters() && element == u"unique-id" && depth == 2) {
            action.uniqueId += reader.text();
        }
        writer.writeCurrentToken(reader);
        if (depth == 0)
            break;
        reader.readNext();
    } while (!reader.atEnd());
    return action;
}

Parsed parse(const QByteArray& bytes, const QString& path) {
    Parsed parsed;
    QXmlStreamReader reader(bytes);
    if (!reader.readNextStartElement() || reader.name() != u"actions")
        unreadable(path);
    while (reader.readNextStartElement()) {
        if (reader.name() == u"action")
            parsed.actions.append(copyAction(reader));
        else
            reader.skipCurrentElement();
    }
    if (reader.hasError())
        unreadable(path);
    return parsed;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<Action> usersOwn(const QList<Action>& actions) {
    QList<Action> own;
    for (const Action& action : actions) {
        if (!action.uniqueId.trimmed().startsWith(idPrefix))
            own.append(action);
    }
    return own;
}

void addPatternsAndTypes(QXmlStreamWriter& writer, const MenuEntry& entry) {
    QStringList patterns;
    bool folders = entry.kinds.isEmpty();
    for (FileKind kind : entry.kinds) {
        if (kind == FileKind::folder)
            folders = true;
        // Thunar compares patterns with case, so both spellings.
        for (const QString& extension : MenuEntries::extensions(kind))
            patterns << QStringLiteral("*.") + extension
                     << QStringLiteral("*.") + extension.toUpper();
    }
    if (entry.kinds.isEmpty() || (patterns.isEmpty() && folders))
        patterns = {QStringLiteral("*")};
    writer.writeTextElement(QStringLiteral("patterns"), patterns.join(u';'));
    if (folders)
        writer.writeEmptyElement(QStringLiteral("directories"));
    if (entry.kinds.isEmpty() || !patterns.contains(u"*"))
        for (const char* type :
             {"audio-files", "image-files", "other-files", "text-files", "video-files"})
            writer.writeEmptyElement(QString::fromLatin1(type));
}

QByteArray document(const QList<Action>& own, const std::vector<MenuEntry>& entries,
                    const QString& program) {
    QByteArray bytes;
    QXmlStreamWriter writer(&bytes);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(-1); // Thunar's own files indent with tabs
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("actions"));
    // The user's actions come back as QXmlStreamWriter copied them: the same elements and text.
    for (const Action& action : own) {
        QXmlStreamReader reader(action.xml);
        while (!reader.atEnd()) {
            reader.readNext();
            // The writer indents by itself; the old indentation would double it.
            if (!reader.isStartDocument() && !reader.isEndDocument() && !reader.isWhitespace())
                writer.writeCurrentToken(reader);
        }
    }
    for (const MenuEntry& entry : entries) {
        QStringList words = {IntegrationFiles::shellQuoted(program)};
        for (const QString& argument : entry.arguments)
            words.append(IntegrationFiles::shellQuoted(argument));
        words.append(QStringLiteral("%F"));
        writer.writeStartElement(QStringLiteral("action"));
        writer.writeTextElement(QStringLiteral("icon"), QStringLiteral("tramix"));
        writer.writeTextElement(QStringLiteral("name"), entry.label);
        writer.writeTextElement(QStringLiteral("submenu"), QString());
        writer.writeTextElement(QStringLiteral("unique-id"), idPrefix + entry.name);
        writer.writeTextElement(QStringLiteral("command"), words.join(u' '));
        writer.writeTextElement(QStringLiteral("description"),
                                entry.label + QStringLiteral(" (") +
                                    QLatin1StringView(MenuEntries::marker) + u')');
        writer.writeTextElement(QStringLiteral("range"), QString());
        addPatternsAndTypes(writer, entry);
        writer.writeEndElement();
    }
    writer.writeEndElement();
    writer.writeEndDocument();
    return bytes;
}

QByteArray normalized(const QList<Action>& own) {
    return document(own, {}, QString());
}

void writeFile(const QString& path, const QByteArray& bytes) {
    IntegrationFiles::write({{path, bytes}});
}

} // namespace

QString actionsPath(const IntegrationFiles::Setup& setup) {
    return setup.configHome + QStringLiteral("/Thunar/uca.xml");
}

QString backupPath(const IntegrationFiles::Setup& setup) {
    return actionsPath(setup) + QStringLiteral(".bak-tramix");
}

void check(const IntegrationFiles::Setup& setup) {
    const QString path = actionsPath(setup);
    if (QFileInfo::exists(path))
        parse(readAll(path), path);
}

void install(const IntegrationFiles::Setup& setup, const std::vector<MenuEntry>& entries) {
    const QString path = actionsPath(setup);
    QList<Action> actions;
    if (QFileInfo::exists(path)) {
        const QByteArray bytes = readAll(path);
        actions = parse(bytes, path).actions;
        // Only a file without Tramix's actions is the user's own state worth keeping.
        if (usersOwn(actions).size() == actions.size())
            writeFile(backupPath(setup), bytes);
    }
    writeFile(path, document(usersOwn(actions), entries, setup.program));
}

void remove(const IntegrationFiles::Setup& setup) {
    const QString path = actionsPath(setup);
    if (!QFileInfo::exists(path))
        return;
    const QList<Action> actions = parse(readAll(path), path).actions;
    const QList<Action> own = usersOwn(actions);
    const QString backup = backupPath(setup);
    if (QFileInfo::exists(backup)) {
        const QByteArray saved = readAll(backup);
        QList<Action> before;
        try {
            before = usersOwn(parse(saved, backup).actions);
        } catch (const ConversionError&) {
            before = {{QStringLiteral("unreadable"), QByteArray()}};
        }
        if (normalized(before) == normalized(own)) {
            writeFile(path, saved);
            QFile::remove(backup);
            return;
        }
    }
    if (own.size() == actions.size())
        return;
    if (own.isEmpty() && !QFileInfo::exists(backup)) {
        QFile::remove(path);
        IntegrationFiles::pruneEmpty(QFileInfo(path).path());
        return;
    }
    writeFile(path, normalized(own));
}

} // namespace tramix::ThunarIntegration
