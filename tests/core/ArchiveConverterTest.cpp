#include "Converters/ArchiveConverter.h"

#include "ConversionError.h"
#include "TestFiles.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

QString failureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const ConversionError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("(no error)");
}

} // namespace

TEST(ArchiveConverter, RunReportsTheToolsOwnErrorTextOrNamesTheSilentTool) {
    test::TestFolder folder;
    const QString sh = QStringLiteral("/bin/sh");

    // Working folder and merged environment reach the child; standard output is discarded.
    ArchiveConverter::run(sh, {"-c", "echo noise; printf %s \"$TRAMIX_PROBE\" > probe"},
                          folder.path(""), [] {
                              QProcessEnvironment extra;
                              extra.insert("TRAMIX_PROBE", "seen");
                              return extra;
                          }());
    QFile probe(folder.path("probe"));
    ASSERT_TRUE(probe.open(QIODevice::ReadOnly));
    EXPECT_EQ(probe.readAll(), "seen");

    EXPECT_EQ(failureOf([&] {
                  ArchiveConverter::run(
                      sh, {"-c", "printf '  zip error: Nothing to do!\\n\\t' >&2; exit 12"});
              }),
              QStringLiteral("zip error: Nothing to do!"));
    EXPECT_EQ(failureOf([&] {
                  ArchiveConverter::run(sh, {"-c", "exit 3"});
              }),
              QStringLiteral("sh ist fehlgeschlagen."));
    EXPECT_NE(failureOf([&] { ArchiveConverter::run(folder.path("missing-tool"), {}); }),
              QStringLiteral("(no error)"));
}
