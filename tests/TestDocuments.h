// Office documents that tests build for themselves: HTML they write, turned into DOCX, ODT, RTF
// or PDF by LibreOffice, run as the engine runs it.
#pragma once

#include <QString>

namespace tramix::test {

// Converts the HTML file `html` into `ext` ("docx", "odt", "rtf", "pdf", …) beside it and
// returns the new file's path; fails the test when LibreOffice makes nothing.
QString officeDocument(const QString& html, const QString& ext);

} // namespace tramix::test
