#include <QGuiApplication>

int runReadingsTest(int argc, char** argv);
int runLogDownloadTest(int argc, char** argv);
int runLogCsvTest(int argc, char** argv);
int runLogChartTest(int argc, char** argv);
#ifdef ZUN_DATALOG_WITH_SIM
int runSimDownloadTest(int argc, char** argv);
#endif

int main(int argc, char** argv) {
    // Fonts and images need a GUI application; tests run on the offscreen platform.
    QGuiApplication app(argc, argv);
    int failed = 0;
    failed += runReadingsTest(argc, argv);
    failed += runLogDownloadTest(argc, argv);
    failed += runLogCsvTest(argc, argv);
    failed += runLogChartTest(argc, argv);
#ifdef ZUN_DATALOG_WITH_SIM
    failed += runSimDownloadTest(argc, argv);
#endif
    return failed;
}
