#include "lang/language_catalog.h"

#include "fileio/save_file.h"
#include "lang/program_texts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace zun::lang {

namespace {

constexpr QLatin1String kSuffix(".lang");

}  // namespace

LanguageFolders LanguageFolders::standard() {
    LanguageFolders folders;
    folders.program = QCoreApplication::applicationDirPath();
    if (!folders.program.isEmpty()) {
        folders.data = QDir::cleanPath(folders.program + QStringLiteral("/../share/zun/lang"));
    }
    folders.user = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return folders;
}

LanguageCatalog::LanguageCatalog(LanguageFolders folders) : folders_(std::move(folders)) {}

QStringList LanguageCatalog::searchFolders() const {
    QStringList out;
    for (const QString& folder : {folders_.program, folders_.data, folders_.user}) {
        if (folder.isEmpty()) {
            continue;
        }
        const QString clean = QDir::cleanPath(folder);
        if (!out.contains(clean)) {
            out << clean;
        }
    }
    return out;
}

QString LanguageCatalog::stateFolder() const {
    if (!folders_.program.isEmpty()) {
        const QFileInfo info(folders_.program);
        if (info.isDir() && info.isWritable()) {
            return QDir::cleanPath(folders_.program);
        }
    }
    return folders_.user.isEmpty() ? QString() : QDir::cleanPath(folders_.user);
}

QStringList LanguageCatalog::listLanguages() const {
    QStringList names;
    for (const QString& folder : searchFolders()) {
        // Hidden files too: ".lang" must reach the length rule rather than vanish as hidden.
        const QStringList files =
            QDir(folder).entryList({QStringLiteral("*.lang")},
                                   QDir::Files | QDir::Hidden | QDir::CaseSensitive, QDir::Name);
        for (const QString& file : files) {
            if (file.size() < 6) {
                continue;
            }
            const QString name = file.chopped(kSuffix.size());
            if (!names.contains(name)) {
                names << name;
            }
        }
    }
    std::stable_sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        const int byCase = QString::compare(a, b, Qt::CaseInsensitive);
        return byCase != 0 ? byCase < 0 : a < b;
    });
    return names;
}

QString LanguageCatalog::languageFilePath(const QString& name) const {
    if (name.isEmpty()) {
        return QString();
    }
    for (const QString& folder : searchFolders()) {
        const QString path = folder + u'/' + name + kSuffix;
        if (QFileInfo(path).isFile()) {
            return path;
        }
    }
    return QString();
}

QString LanguageCatalog::statePath() const {
    const QString folder = stateFolder();
    return folder.isEmpty() ? QString() : folder + u'/' + QLatin1String(kStateFileName);
}

QString LanguageCatalog::readFirstField(const QString& path, bool* exists) const {
    QFile file(path);
    *exists = file.exists();
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    return firstFieldOf(file.read(kMaxStateBytes));
}

QByteArray LanguageCatalog::rememberedFileBytes(const QString& name) {
    const bool quote = name.contains(u',') || name.startsWith(u' ') || name.startsWith(u'\t');
    return (quote ? QByteArray("\"") + name.toUtf8() + '"' : name.toUtf8()) + '\n';
}

QString LanguageCatalog::firstFieldOf(const QByteArray& bytes) {
    const QStringList fields =
        LanguageFile::readFields(LanguageFile::decode(bytes.left(kMaxStateBytes)));
    return fields.isEmpty() ? QString() : fields.first();
}

bool LanguageCatalog::writeFile(const QString& path, const QByteArray& bytes) const {
    if (path.isEmpty() || !QDir().mkpath(QFileInfo(path).absolutePath())) {
        return false;
    }
    return fileio::SaveWholeFile(path, bytes).ok;
}

QString LanguageCatalog::rememberedLanguage() const {
    const QString path = statePath();
    bool exists = false;
    const QString name = readFirstField(path, &exists);
    if (exists) {
        return name;
    }
    const QString english = QLatin1String(kEnglish);
    writeFile(path, rememberedFileBytes(english));
    return english;
}

bool LanguageCatalog::remember(const QString& name) const {
    const QString path = statePath();
    bool exists = false;
    if (readFirstField(path, &exists) == name && exists) {
        return false;
    }
    return writeFile(path, rememberedFileBytes(name));
}

bool LanguageCatalog::ensureEnglish() const {
    if (!languageFilePath(QLatin1String(kEnglish)).isEmpty()) {
        return false;
    }
    const QString folder = stateFolder();
    if (folder.isEmpty()) {
        return false;
    }
    return writeFile(folder + u'/' + QLatin1String(kEnglish) + kSuffix, QByteArray());
}

Captions LanguageCatalog::captionsOf(const QString& name) const {
    return readLanguage(name).captions;
}

LanguageCatalog::LanguageRead LanguageCatalog::readLanguage(const QString& name) const {
    LanguageRead r;
    QFile file(languageFilePath(name));
    if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return r;
    }
    // One byte more than the limit tells a file at the limit from a larger one, also where the
    // size is not known beforehand (a pipe, a growing file).
    const QByteArray bytes = file.read(kMaxFileBytes + 1);
    if (bytes.size() > kMaxFileBytes) {
        r.error = Text(T::LanguageTooLarge)
                      .arg(QDir::toNativeSeparators(file.fileName()))
                      .arg(kMaxFileBytes / (1024 * 1024));
        return r;
    }
    const LanguageFile parsed = LanguageFile::fromBytes(bytes);
    r.captions = parsed.captions();
    r.texts = ProgramTexts::fromEntries(parsed.entries());
    return r;
}

}  // namespace zun::lang
