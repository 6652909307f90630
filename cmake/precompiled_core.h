// Read once for all files of the rules: only speeds the build up, every file includes what it uses.
// Only what many use: the larger the whole, the longer each file takes to load it.
#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkDatagram>
#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUdpSocket>
#include <QVariant>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>
