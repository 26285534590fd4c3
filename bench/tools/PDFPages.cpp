// Splits and merges PDFs with the engine, as the PDF editor does, so that benchmarks can time
// them against qpdf:
//   tramix-pdfpages split <file.pdf> <ranges>          one PDF per range ("1-2, 3-5, 6-")
//   tramix-pdfpages merge <name> <file.pdf>...         every page of the files, in order
#include "ConversionError.h"
#include "PDF/PDFPageCopy.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>
#include <cstdlib>

using namespace tramix;

namespace {

QStringList run(const QStringList& args) {
    if (args.size() == 3 && args[0] == u"split") {
        const QString input = QFileInfo(args[1]).absoluteFilePath();
        const auto groups = PageRanges::parse(args[2], PDFPageCopy::pageCount(input));
        return PDFPageCopy::split(input, groups, OutputContext());
    }
    if (args.size() >= 3 && args[0] == u"merge") {
        QList<PDFPageCopy::MergePart> parts;
        for (const QString& file : args.mid(2))
            parts.append({QFileInfo(file).absoluteFilePath(), std::nullopt});
        return {PDFPageCopy::merge(parts, args[1], OutputContext())};
    }
    std::fputs("usage: tramix-pdfpages split <file.pdf> <ranges>\n"
               "       tramix-pdfpages merge <name> <file.pdf>...\n",
               stderr);
    std::exit(2);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    try {
        for (const QString& output : run(app.arguments().mid(1)))
            std::printf("%s\n", output.toLocal8Bit().constData());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Fehler: %s\n", describeError(error).toLocal8Bit().constData());
        return 1;
    }
    return 0;
}
