// Without libFuzzer (the normal build, with gcc): runs a harness over the files of the folders and
// files it is given, as a test that the seed corpus still passes and the harnesses still build.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        QStringList files;
        const QString given = QFile::decodeName(argv[i]);
        if (QFileInfo(given).isDir()) {
            QDirIterator it(given, QDir::Files);
            while (it.hasNext()) {
                files.append(it.next());
            }
            files.sort();
        } else {
            files.append(given);
        }
        for (const QString& path : files) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
                return 1;
            }
            const QByteArray input = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.constData()), size_t(input.size()));
            ++inputs;
        }
    }
    std::printf("%d inputs, no finding\n", inputs);
    return inputs > 0 ? 0 : 1;
}
