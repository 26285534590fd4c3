// tramix-docs: writes the man page and the shell completions at build time, so that they always
// name the commands and operations the binary has.
//   tramix-docs tramix.1 bash/tramix zsh/_tramix
#include "BashCompletion.h"
#include "ManPage.h"
#include "ZshCompletion.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <cstdio>

namespace {

constexpr int outputCount = 3;

bool write(const QString& path, const QString& text) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    std::fprintf(stderr, "tramix-docs: %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != outputCount + 1) {
        std::fprintf(stderr, "usage: tramix-docs MANPAGE BASH-COMPLETION ZSH-COMPLETION\n");
        return 2;
    }
    const bool written = write(QString::fromLocal8Bit(argv[1]), tramix::ManPage::text()) &&
                         write(QString::fromLocal8Bit(argv[2]), tramix::BashCompletion::script()) &&
                         write(QString::fromLocal8Bit(argv[3]), tramix::ZshCompletion::script());
    return written ? 0 : 1;
}
