#include "EngineHarness.h"

#include <QDir>
#include <QFile>

namespace {
QString volumesFolderIn(const QString &dir)
{
    return dir + QStringLiteral("/volumes");
}

} // namespace

EngineHarness::EngineHarness(ConsoleMode mode, EngineHost::Options options,
                             const std::function<void(PlatformPorts &)> &adjustPorts)
    : EngineHarnessBase(
          mode,
          [this, &adjustPorts](const QString &dir) {
              QDir().mkpath(volumesFolderIn(dir));
              PlatformPorts ports = FakePlatform::createPorts(volumesFolderIn(dir), &fakes);
              if (adjustPorts) {
                  adjustPorts(ports);
                  if (ports.clock.get() != fakes.clock) {
                      spareClock = std::make_unique<FakeClock>();
                      fakes.clock = spareClock.get();
                  }
              }
              return ports;
          },
          std::move(options))
    , volumesFolder(volumesFolderIn(dir.path()))
    , clock(*fakes.clock)
    , table(*fakes.mountTable)
    , service(*fakes.mountService)
    , fileSystem(*host->ports().fileSystem)
    , secrets(*fakes.secretStore)
    , wifi(*fakes.wifi)
    , sleep(*fakes.sleepMonitor)
    , network(*fakes.network)
    , bridge(*fakes.fuseBridge)
{
}

EngineHarness::~EngineHarness()
{
    shutDown();
}

QString EngineHarness::makeVolumeFolder(const QString &name, bool withFile) const
{
    const QString path = volumePath(name);
    QDir().mkpath(path);
    if (withFile) {
        QFile file(path + QStringLiteral("/file.txt"));
        if (file.open(QIODevice::WriteOnly))
            file.write("x");
    }
    return path;
}

QString EngineHarness::makeScript(const QString &name, const QString &body) const
{
    QFile file(dir.path() + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly))
        file.write(body.toUtf8());
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return file.fileName();
}
