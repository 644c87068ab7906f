// The example panel: shows Panel.qml, or takes pictures of its pages.

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickItemGrabResult>
#include <QtQuick/QQuickView>

#include <cstdio>

namespace {

struct Picture
{
    const char *name;
    int page;
    int afterMilliseconds;
    int stationOff; ///< 0: all on
};

/** The trends of the first need a while. */
const Picture Pictures[] = {{"overview", 0, 25000, 0}, {"control", 1, 1500, 0}, {"line", 4, 2500, 0},
                            {"recipe", 3, 1500, 0},    {"alarms", 2, 7000, 2},  {"stale", 0, 9000, 2}};

void wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, SLOT(quit()));
    loop.exec();
}

bool save(QQuickItem *item, const QString &file)
{
    const QSharedPointer<QQuickItemGrabResult> grabbed = item->grabToImage();
    if (!grabbed)
        return false;
    QEventLoop loop;
    QObject::connect(grabbed.data(), &QQuickItemGrabResult::ready, &loop, &QEventLoop::quit);
    loop.exec();
    return grabbed->image().save(file);
}

int takePictures(QQuickView &view, const QString &folder)
{
    QObject *const panel = view.rootObject();
    QObject *const plant = panel->property("plant").value<QObject *>();
    for (const Picture &picture : Pictures) {
        for (int station : {1, 2})
            QMetaObject::invokeMethod(plant, "setStationOn", Q_ARG(int, station),
                                      Q_ARG(bool, station != picture.stationOff));
        panel->setProperty("page", picture.page);
        if (picture.page == 3) {
            wait(500);
            QMetaObject::invokeMethod(panel, "compareRecipe");
        }
        wait(picture.afterMilliseconds);
        const QString file = QDir(folder).filePath(QStringLiteral("panel-%1.png").arg(QLatin1String(picture.name)));
        if (!QDir().mkpath(folder) || !save(view.rootObject(), file)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        std::printf("%s\n", qPrintable(file));
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription(
        QStringLiteral("The panel of a filling line, on simulated slaves unless a port is given."));
    options.addHelpOption();
    options.addOptions(
        {{QStringLiteral("port"), QStringLiteral("/dev/ttyUSB0 or tcp:HOST:PORT"), QStringLiteral("port")},
         {QStringLiteral("baud"), QStringLiteral("19200 unless given"), QStringLiteral("baud"),
          QStringLiteral("19200")},
         {QStringLiteral("driver"), QStringLiteral("the driver to load"), QStringLiteral("file")},
         {QStringLiteral("recipe"), QStringLiteral("where the recipe page saves"), QStringLiteral("file"),
          QStringLiteral("recipe.json")},
         {QStringLiteral("pictures"), QStringLiteral("saves pictures of the pages, and ends"),
          QStringLiteral("folder")}});
    options.process(application);

    QQuickView view;
    view.engine()->addImportPath(QStringLiteral(QML_FOLDER));
    view.setInitialProperties({{QStringLiteral("port"), options.value(QStringLiteral("port"))},
                               {QStringLiteral("baud"), options.value(QStringLiteral("baud")).toInt()},
                               {QStringLiteral("driver"), options.value(QStringLiteral("driver"))},
                               {QStringLiteral("simulation"), QUrl::fromLocalFile(QStringLiteral(SIMULATION))},
                               {QStringLiteral("recipeFile"),
                                QUrl::fromUserInput(options.value(QStringLiteral("recipe")), QDir::currentPath())}});
    view.setTitle(QStringLiteral("Filling line"));
    view.setSource(QUrl::fromLocalFile(QStringLiteral(PANEL_FOLDER "/Panel.qml")));
    if (view.status() != QQuickView::Ready)
        return 1;
    view.show();
    if (options.isSet(QStringLiteral("pictures")))
        return takePictures(view, options.value(QStringLiteral("pictures")));
    return QGuiApplication::exec();
}
