// The include graph of the sources: no cycles between files or folders, the engine below the
// app, and the app's folders in layers (App on top, Settings at the bottom).
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

namespace {

const QString sourceRoot = QStringLiteral(TRAMIX_SOURCE_DIR);

// A file pair (X.h and X.cpp) is one node: "core/Image/ImagePipeline".
using Graph = QHash<QString, QSet<QString>>;

QString nodeOf(const QString& relativePath) {
    return relativePath.left(relativePath.lastIndexOf(u'.'));
}

QString folderOf(const QString& node) {
    return node.left(node.lastIndexOf(u'/'));
}

QStringList sources() {
    QStringList found;
    for (const char* top : {"core", "app"}) {
        QDirIterator it(sourceRoot + u'/' + QLatin1StringView(top), {"*.h", "*.cpp"}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            found.append(QDir(sourceRoot).relativeFilePath(it.next()));
    }
    return found;
}

// Quoted includes resolve beside the file first, then from core/ (and app/ for the app).
std::optional<QString> resolve(const QString& from, const QString& include,
                               const QSet<QString>& files) {
    QStringList bases = {QFileInfo(from).path(), QStringLiteral("core")};
    if (from.startsWith(u"app/"))
        bases.insert(1, QStringLiteral("app"));
    for (const QString& base : bases) {
        const QString candidate = QDir::cleanPath(base + u'/' + include);
        if (files.contains(candidate))
            return candidate;
    }
    return std::nullopt;
}

Graph fileGraph() {
    const QStringList all = sources();
    const QSet<QString> files(all.begin(), all.end());
    static const QRegularExpression include(QStringLiteral("^\\s*#\\s*include\\s+\"([^\"]+)\""),
                                            QRegularExpression::MultilineOption);
    Graph graph;
    for (const QString& file : all) {
        QFile source(sourceRoot + u'/' + file);
        EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << file.toStdString();
        const QString text = QString::fromUtf8(source.readAll());
        for (auto match = include.globalMatch(text); match.hasNext();) {
            const auto target = resolve(file, match.next().captured(1), files);
            if (target && nodeOf(*target) != nodeOf(file))
                graph[nodeOf(file)].insert(nodeOf(*target));
        }
    }
    return graph;
}

Graph folderGraph(const Graph& files) {
    Graph folders;
    for (auto it = files.begin(); it != files.end(); ++it) {
        for (const QString& target : it.value()) {
            if (folderOf(it.key()) != folderOf(target))
                folders[folderOf(it.key())].insert(folderOf(target));
        }
    }
    return folders;
}

// What is left after dropping, again and again, every node that includes nothing left or that
// nothing left includes: the nodes on cycles. Empty when there is none.
QStringList cyclic(Graph graph) {
    for (qsizetype size = -1; size != graph.size();) {
        size = graph.size();
        QSet<QString> included;
        for (QSet<QString>& targets : graph) {
            targets.removeIf([&](const QString& target) { return !graph.contains(target); });
            included.unite(targets);
        }
        graph.removeIf([&](const auto& node) {
            return node.value().isEmpty() || !included.contains(node.key());
        });
    }
    QStringList left = graph.keys();
    left.sort();
    return left;
}

// The app's layers, bottom up; a folder may include its own layer and those below.
int appLayer(const QString& folder) {
    static const QHash<QString, int> layers = {{"Settings", 1}, {"Design", 2},      {"Platform", 2},
                                               {"Drag", 3},     {"Jobs", 3},        {"UI", 3},
                                               {"Actions", 3},  {"Shelf", 3},       {"Editors", 3},
                                               {"Screens", 3},  {"Integration", 3}, {"App", 4}};
    if (!folder.startsWith(u"app/"))
        return 0;
    return layers.value(folder.section(u'/', 1, 1), -1);
}

} // namespace

TEST(Layout, NoIncludeCyclesBetweenFilesOrFolders) {
    const Graph files = fileGraph();
    ASSERT_GT(files.size(), 50) << "sources not found under " << sourceRoot.toStdString();
    EXPECT_EQ(cyclic(files).join(' ').toStdString(), "");
    EXPECT_EQ(cyclic(folderGraph(files)).join(' ').toStdString(), "");
}

TEST(Layout, EngineTypesAreTheBottomAndTheAppIncludesOnlyDownwards) {
    const Graph folders = folderGraph(fileGraph());
    for (auto it = folders.begin(); it != folders.end(); ++it) {
        const QString& from = it.key();
        for (const QString& to : it.value()) {
            const std::string edge = (from + QStringLiteral(" → ") + to).toStdString();
            if (from.startsWith(u"core")) {
                EXPECT_TRUE(to.startsWith(u"core")) << edge;
            }
            // Shared helpers and engine types serve every family and need none.
            EXPECT_NE(from, u"core") << edge;
            EXPECT_GE(appLayer(from), 0) << "a folder without a layer: " << edge;
            EXPECT_LE(appLayer(to), appLayer(from)) << edge;
        }
    }
}
