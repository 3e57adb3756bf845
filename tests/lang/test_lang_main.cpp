#include <QCoreApplication>
#include <QStandardPaths>

int runLanguageFileTest(int argc, char** argv);
int runLanguageCatalogTest(int argc, char** argv);
int runShippedLanguagesTest(int argc, char** argv);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // Keeps the user's real configuration folder out of reach of the catalog tests.
    QStandardPaths::setTestModeEnabled(true);
    int failed = 0;
    failed += runLanguageFileTest(argc, argv);
    failed += runLanguageCatalogTest(argc, argv);
    failed += runShippedLanguagesTest(argc, argv);
    return failed;
}
