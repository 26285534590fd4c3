#include "TestDocuments.h"

#include "Documents/OfficeSuite.h"

#include <QFileInfo>
#include <gtest/gtest.h>

namespace tramix::test {

QString officeDocument(const QString& html, const QString& ext) {
    const QFileInfo source(html);
    const OfficeSuite::Target target = OfficeSuite::targetFor(ext);
    OfficeSuite::Options options;
    options.inputFilter = QStringLiteral("HTML (StarWriter)");
    std::optional<QString> failure;
    OfficeSuite::convert(
        {{source.absoluteFilePath(), source.fileName()}}, target, source.absolutePath(),
        [&](qsizetype, const std::optional<QString>& error) { failure = error; }, {}, options);
    EXPECT_FALSE(failure) << failure->toStdString();
    return OfficeSuite::resultPath({source.absoluteFilePath(), {}}, target, source.absolutePath());
}

} // namespace tramix::test
