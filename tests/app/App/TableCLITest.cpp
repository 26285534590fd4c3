#include "CliRunner.h"
#include "Tables/XLSX.h"
#include "TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using tramix::test::runTramix;

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

} // namespace

TEST(TableCLI, ConvertsEachKindOfTableAndReportsBadOnesWhileTheOthersFinish) {
    tramix::test::TestFolder folder;
    folder.file("Kunden.csv",
                "Name;Ort;Umsatz\nM\xFCller;K\xF6ln;1200.50\nSchmidt;\"Bonn; Rhein\";7\n");
    folder.file("Daten.tsv", "id\turl\n1\thttps://example.org/a\n");
    tramix::XLSX::write({{"Spalte", "", "Wert"}, {"a", "b", "3"}}, folder.path("Mappe.xlsx"));
    folder.file("Kaputt.xlsx", "not a workbook");
    folder.file("Leer.csv", "\n");

    const auto json = runTramix({"--run", "convert.sheet.json", "Kunden.csv", "Daten.tsv",
                                 "Mappe.xlsx", "Kaputt.xlsx", "Leer.csv"},
                                folder.path("."));
    EXPECT_EQ(json.status, 1);
    QStringList lines = json.lines();
    ASSERT_EQ(lines.size(), 7) << json.out.toStdString();
    QStringList outputs = lines.mid(0, 3);
    outputs.sort();
    EXPECT_EQ(outputs, QStringList({folder.path("Daten.json"), folder.path("Kunden.json"),
                                    folder.path("Mappe.json")}));
    QStringList failures = lines.mid(3, 2);
    failures.sort();
    EXPECT_EQ(failures, QStringList({"FEHLER Kaputt.xlsx: Die Excel-Datei ist beschädigt.",
                                     "FEHLER Leer.csv: Die Tabelle ist leer."}));
    EXPECT_EQ(lines[6], "Fehler: 2 Fehler");
    EXPECT_FALSE(QFileInfo::exists(folder.path("Kaputt.json")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Leer.json")));

    const QJsonArray customers =
        QJsonDocument::fromJson(contents(folder.path("Kunden.json"))).array();
    ASSERT_EQ(customers.size(), 2);
    EXPECT_EQ(customers[0].toObject()["Name"].toString(), "Müller");
    EXPECT_EQ(customers[1].toObject()["Ort"].toString(), "Bonn; Rhein");

    // Into a workbook and back out as CSV, as HTML and as TSV.
    const auto xlsx = runTramix({"--run", "convert.sheet.xlsx", "Kunden.csv"}, folder.path("."));
    ASSERT_EQ(xlsx.status, 0) << xlsx.out.toStdString();
    EXPECT_EQ(xlsx.lines().first(), folder.path("Kunden.xlsx"));
    EXPECT_EQ(tramix::XLSX::read(folder.path("Kunden.xlsx")),
              tramix::TableGrid({{"Name", "Ort", "Umsatz"},
                                 {"Müller", "Köln", "1200.5"},
                                 {"Schmidt", "Bonn; Rhein", "7"}}));
    for (const char* target : {"csv", "html", "tsv"}) {
        const auto back = runTramix({"--run", QString("convert.sheet.") + target, "Kunden.xlsx"},
                                    folder.path("."));
        EXPECT_EQ(back.status, 0) << back.out.toStdString();
    }
    EXPECT_EQ(contents(folder.path("Kunden.csv")).size(), 60); // the source is untouched
    EXPECT_EQ(contents(folder.path("Kunden 2.csv")),
              "Name,Ort,Umsatz\nMüller,Köln,1200.5\nSchmidt,Bonn; Rhein,7\n");
    EXPECT_TRUE(contents(folder.path("Kunden.html")).contains("<td>Müller</td>"));
    EXPECT_EQ(contents(folder.path("Kunden.tsv")),
              "Name\tOrt\tUmsatz\nMüller\tKöln\t1200.5\nSchmidt\tBonn; Rhein\t7\n");
}
