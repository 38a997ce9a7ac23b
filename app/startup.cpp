#include "app/startup.h"

#include "viewer/qtquick2applicationviewer.h"
#include "equalizer/equalizer.h"

#include <QFileInfo>
#include <QQmlContext>

#include <getopt.h>
#include <cstdio>

namespace Startup {

void runOptionLoop(int argc, char **argv)
{
    static const struct option longOptions[] = {
        {"platform", required_argument, nullptr, 'p'},
        {"plugin", required_argument, nullptr, 'P'},
        {nullptr, 0, nullptr, 0},
    };
    // The short 'P' takes no argument while the long "plugin" requires one; kept as it is.
    while (getopt_long_only(argc, argv, "p:P", longOptions, nullptr) != -1) {
    }
}

void registerTypes()
{
    qRegisterMetaType<EqItemList *>("EqItemList*");
}

void publish(QtQuick2ApplicationViewer &viewer, Equalizer &equalizer)
{
    QQmlContext *context = viewer.rootContext();
    context->setContextObject(&equalizer);
    context->setContextProperty(QStringLiteral("PEQList"), QVariant::fromValue(equalizer.peqList()));
    context->setContextProperty(QStringLiteral("GainList"), QVariant::fromValue(equalizer.freqList()));
    context->setContextProperty(QStringLiteral("ModeList"), QVariant::fromValue(equalizer.modeList()));
    context->setContextProperty(QStringLiteral("CoreTypeList"), QVariant::fromValue(equalizer.coreTypeList()));
    context->setContextProperty(QStringLiteral("PresetList"), QVariant::fromValue(equalizer.presetList()));
    context->setContextProperty(QStringLiteral("ProfileList"), QVariant::fromValue(equalizer.profileList()));
}

void loadScene(QtQuick2ApplicationViewer &viewer, const char *path)
{
    viewer.setMainQmlFile(QString::fromUtf8(path));
    const QString loaded = viewer.source().toLocalFile();
    if (!QFileInfo::exists(loaded))
        fprintf(stderr, "equalizer: scene file \"%s\" not found; the window stays empty\n",
                qUtf8Printable(loaded));
}

} // namespace Startup
