// The hand-over is one line of UTF-8 over a local socket: the link, or nothing, then "\n".
#include "app/single_instance.h"

#include <QLocalSocket>
#include <QPointer>
#include <QQuickWindow>

#include "app/app_window.h"
#include "core/service/service_setup.h"

namespace trivo::app {

namespace {

constexpr int kWaitMs = 1000;
// A link is a line of a few hundred bytes; anything longer is not one of ours.
constexpr qint64 kLongestLine = 64 * 1024;

}  // namespace

std::optional<std::filesystem::path> SingleInstance::socketFor(const std::filesystem::path& vault) {
  auto lock = serviceLockFile(vault);
  if (!lock) return std::nullopt;
  lock->replace_extension(".window");
  return lock;
}

bool SingleInstance::forward(const std::filesystem::path& socket, const QString& url) {
  QLocalSocket out;
  out.connectToServer(QString::fromStdString(socket.string()));
  if (!out.waitForConnected(kWaitMs)) return false;
  out.write((url + "\n").toUtf8());
  if (!out.waitForBytesWritten(kWaitMs)) return false;
  // The window closes its end once the link is taken; a window that hangs is not waited for.
  return out.state() != QLocalSocket::ConnectedState || out.waitForDisconnected(kWaitMs);
}

SingleInstance::SingleInstance(AppWindow& window, const std::filesystem::path& socket)
    : window_(window) {
  const QString name = QString::fromStdString(socket.string());
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  if (!server_.listen(name) && server_.serverError() == QAbstractSocket::AddressInUseError) {
    // Nobody answers there (forward() was tried first): a socket left by a window that crashed.
    QLocalServer::removeServer(name);
    server_.listen(name);
  }
  connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

void SingleInstance::accept() {
  while (QLocalSocket* in = server_.nextPendingConnection()) {
    connect(in, &QLocalSocket::disconnected, in, &QObject::deleteLater);
    auto take = [this, in = QPointer<QLocalSocket>(in)] {
      if (!in || !in->canReadLine()) {
        if (in && in->bytesAvailable() > kLongestLine) in->abort();
        return;
      }
      const QString url = QString::fromUtf8(in->readLine()).trimmed();
      in->disconnectFromServer();
      if (!url.isEmpty()) window_.openLink(url);
      if (auto* win = qobject_cast<QQuickWindow*>(window_.root())) {
        win->show();
        win->raise();
        win->requestActivate();
      }
      Q_EMIT received(url);
    };
    connect(in, &QLocalSocket::readyRead, this, take);
    // The line may have come in with the connection, before readyRead was connected.
    QMetaObject::invokeMethod(this, take, Qt::QueuedConnection);
  }
}

}  // namespace trivo::app
