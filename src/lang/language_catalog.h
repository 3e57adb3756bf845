#pragma once

#include "lang/language_file.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace zun::lang {

// The folders the window looks in for language files, first one first.
struct LanguageFolders {
    QString program;  // the program's own folder
    QString data;     // the installed data folder, <program>/../share/zun/lang
    QString user;     // the user's configuration folder

    static LanguageFolders standard();
};

// The language files on this machine and the remembered choice ("DefaultLang.txt").
//
// Start-up: rememberedLanguage(), ensureEnglish(), fill the list from listLanguages() and select
// the remembered entry. On every change of the selection: remember(name), then apply
// captionsOf(name).
class LanguageCatalog {
public:
    explicit LanguageCatalog(LanguageFolders folders = LanguageFolders::standard());

    const LanguageFolders& folders() const { return folders_; }

    // Program, data and user folder, without empty or repeated entries.
    QStringList searchFolders() const;

    // Where "DefaultLang.txt" and a newly created "English.lang" go: the program folder while
    // it can be written (a portable copy keeps its choice beside it), else the user's folder.
    QString stateFolder() const;

    // Every "*.lang" file name of at least 6 characters, without ".lang", sorted by name. A
    // language found in several folders is listed once.
    QStringList listLanguages() const;

    // The file of a language in the first folder that holds it; empty when there is none.
    QString languageFilePath(const QString& name) const;

    // The first field of "DefaultLang.txt"; the file is created holding "English" when missing.
    QString rememberedLanguage() const;

    // Rewrites "DefaultLang.txt" with name unless its first field already is name. True when
    // the file was written.
    bool remember(const QString& name) const;

    // Creates an empty "English.lang" in the state folder when no folder holds one. True when
    // the file was created.
    bool ensureEnglish() const;

    // The captions of a language; empty when its file is missing or unreadable.
    Captions captionsOf(const QString& name) const;

    struct LanguageRead {
        Captions captions;
        QHash<int, QString> texts;  // the program's own texts the file gives (ProgramTexts)
        QString error;  // why the file was refused; empty when it was read or is missing
    };
    // The whole file is read, so that its encoding is decided on all of it; a file above
    // kMaxFileBytes is refused with a message.
    LanguageRead readLanguage(const QString& name) const;

    // "DefaultLang.txt" as written for a name: one line, the name quoted when its first field
    // would otherwise lose a part of it (a comma, leading blanks).
    static QByteArray rememberedFileBytes(const QString& name);
    // The first field of "DefaultLang.txt"'s bytes; only the first kMaxStateBytes are looked at.
    static QString firstFieldOf(const QByteArray& bytes);

    static constexpr const char* kStateFileName = "DefaultLang.txt";
    static constexpr const char* kEnglish = "English";
    // Real language files are a few kilobytes; this is far beyond any of them.
    static constexpr qint64 kMaxFileBytes = 16 * 1024 * 1024;
    static constexpr qint64 kMaxStateBytes = 4096;

private:
    QString statePath() const;
    QString readFirstField(const QString& path, bool* exists) const;
    bool writeFile(const QString& path, const QByteArray& bytes) const;

    LanguageFolders folders_;
};

}  // namespace zun::lang
