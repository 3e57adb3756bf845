#include "link/serial_link.h"

#include "link/codec.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace zun::link {

SerialLink::SerialLink(QObject* parent) : QObject(parent) {
    connect(&port_, &QSerialPort::errorOccurred, this, &SerialLink::onError);
}

SerialLink::~SerialLink() {
    close();
}

void SerialLink::setDevice(const QString& device) {
    device_ = device;
}

bool SerialLink::open() {
    if (port_.isOpen()) {
        return true;
    }
    lastRefusal_ = PortRefusal();
    if (device_.isEmpty()) {
        lastError_ = QStringLiteral("no port chosen");
        return false;
    }
    port_.setPortName(device_);
    if (!port_.open(QIODevice::ReadWrite)) {
        lastRefusal_ = PortRefusal::For(device_, port_.error(), DeviceAccess::Of(device_));
        lastError_ = lastRefusal_.kind == PortRefusal::Kind::Other ? describe(port_.error())
                                                                   : lastRefusal_.reason;
        port_.clearError();
        return false;
    }
    port_.setBaudRate(QSerialPort::Baud9600);
    port_.setDataBits(QSerialPort::Data8);
    port_.setParity(QSerialPort::NoParity);
    port_.setStopBits(QSerialPort::OneStop);
    port_.setFlowControl(QSerialPort::NoFlowControl);
    port_.clear(QSerialPort::AllDirections);
    lastError_.clear();
    return true;
}

void SerialLink::close() {
    if (port_.isOpen()) {
        port_.close();
    }
    port_.clearError();
}

void SerialLink::onError(QSerialPort::SerialPortError error) {
    if (error == QSerialPort::NoError) {
        return;
    }
    lastError_ = describe(error);
    // An unplugged adapter: the port is gone for good, so let go of it.
    if (error == QSerialPort::ResourceError || error == QSerialPort::ReadError ||
        error == QSerialPort::WriteError) {
        if (port_.isOpen()) {
            port_.close();
            emit portLost();
        }
    }
}

QString SerialLink::describe(QSerialPort::SerialPortError error) {
    switch (error) {
        case QSerialPort::DeviceNotFoundError:
            return QStringLiteral("the port does not exist");
        case QSerialPort::PermissionError:
            return QStringLiteral("the port is busy or there is no permission to open it");
        case QSerialPort::OpenError:
            return QStringLiteral("the port is already open");
        case QSerialPort::ResourceError:
            return QStringLiteral("the port vanished (adapter unplugged?)");
        case QSerialPort::ReadError:
            return QStringLiteral("reading from the port failed");
        case QSerialPort::WriteError:
            return QStringLiteral("writing to the port failed");
        case QSerialPort::UnsupportedOperationError:
            return QStringLiteral("the port does not support 9600 8N1");
        default:
            return QStringLiteral("the port cannot be used");
    }
}

QString SerialLink::finish(const QString& hex) {
    emit exchangeEnded(outcome_);
    return hex;
}

QString SerialLink::SendFrame(const QString& frame) {
    outcome_ = ExchangeOutcome{};
    outcome_.end = ExchangeEnd::NotSent;
    // Any failure from here on gives the empty reply; the result is only set at the end.
    if (!readyToSend() || !IsHexText(frame)) {
        return finish(QString());
    }
    const QByteArray bytes = QByteArray::fromHex(frame.toLatin1());
    outcome_.limits = LimitsFor(bytes);
    if (trace) {
        trace(true, frame.toUpper());
    }
    QElapsedTimer clock;
    clock.start();
    if (port_.write(bytes) != bytes.size()) {
        return finish(QString());
    }
    port_.flush();
    const qint64 take = awaitReply(bytes, clock);
    return finish(takeReply(bytes, take));
}

bool SerialLink::readyToSend() {
    // Whatever an earlier exchange left on the line must not be read as this reply.
    if (port_.isOpen()) {
        port_.clear(QSerialPort::AllDirections);
        port_.readAll();
        return true;
    }
    return open();
}

qint64 SerialLink::awaitReply(const QByteArray& request, const QElapsedTimer& clock) {
    // The reply is complete after 20 polls in all that brought nothing new. On top of that a
    // line that keeps sending is cut off at the limits of the longest reply, and fast mode
    // stops at the first complete, sound reply.
    int stalls = 1;
    qint64 largest = 0;
    qint64 take = -1;  // fast mode: the reply's own bytes
    for (;;) {
        if (!port_.isOpen()) {
            outcome_.end = ExchangeEnd::PortLost;
            return take;
        }
        const qint64 waiting = port_.bytesAvailable();
        outcome_.received = int(waiting);
        if (waiting > outcome_.limits.bytes) {
            outcome_.end = ExchangeEnd::HardByteLimit;
            return take;
        }
        if (clock.elapsed() > outcome_.limits.milliseconds) {
            outcome_.end = ExchangeEnd::HardTimeLimit;
            return take;
        }
        if (waiting <= largest) {
            ++stalls;
        } else {
            largest = waiting;
            if (fast_ && completeFast(request, waiting, take)) {
                outcome_.end = ExchangeEnd::CompleteFast;
                return take;
            }
        }
        if (stalls > 20) {
            outcome_.end = ExchangeEnd::Quiet;
            return take;
        }
        if (fast_) {
            waitForBytes(0.01f);
        } else {
            WaitSeconds(0.01f);
        }
    }
}

bool SerialLink::completeFast(const QByteArray& request, qint64 waiting, qint64& take) {
    // A poll may see the reply together with what followed it on the line; the reply ended
    // when its last byte came, so that is where fast mode ends it.
    const QByteArray in = port_.peek(waiting);
    const ReplyVerdict v = CheckReply(request, in);
    if (v.state == ReplyState::Complete ||
        (v.expected > 0 && v.expected < in.size() &&
         CheckReply(request, in.left(v.expected)).state == ReplyState::Complete)) {
        take = v.expected;
        return true;
    }
    return false;
}

QString SerialLink::takeReply(const QByteArray& request, qint64 take) {
    if (!port_.isOpen()) {
        outcome_.end = ExchangeEnd::PortLost;
        return QString();
    }
    const QByteArray reply = take > 0 ? port_.read(take) : port_.readAll();
    outcome_.received = int(reply.size());
    outcome_.verdict = CheckReply(request, reply);
    if (reply.isEmpty()) {
        return QString();
    }
    const QString hex = QString::fromLatin1(reply.toHex()).toUpper();
    if (trace) {
        trace(false, hex);
    }
    if (outcome_.lineNotQuiet()) {
        // What came is not a reply but the start of an endless stream: hand none of it on.
        port_.clear(QSerialPort::Input);
        return QString();
    }
    QCoreApplication::processEvents();
    return hex;
}

void SerialLink::waitForBytes(float seconds) {
    // As WaitSeconds, but new bytes end the wait at once, so that a complete reply is seen
    // as soon as it is in.
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&port_, &QSerialPort::readyRead, &loop, &QEventLoop::quit);
    timer.start(qMax(1, qRound(seconds * 1000.0f)));
    loop.exec();
}

void SerialLink::WaitSeconds(float seconds) {
    if (!(seconds > 0.0f)) {
        return;
    }
    // A timed local loop keeps the window's events (and the port's notifier) running without
    // spinning; it uses a monotonic clock, so a wait across midnight ends like any other.
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(qMax(1, qRound(seconds * 1000.0f)));
    loop.exec();
}

bool SerialLink::ResetAndWrite(const QByteArray& bytes) {
    if (port_.isOpen()) {
        port_.clear(QSerialPort::Input);
        port_.readAll();
    } else if (!open()) {
        return false;
    }
    if (trace) {
        trace(true, QString::fromLatin1(bytes.toHex()).toUpper());
    }
    const bool ok = port_.write(bytes) == bytes.size();
    port_.flush();
    return ok;
}

QByteArray SerialLink::ReadWaiting() {
    if (!port_.isOpen()) {
        return QByteArray();
    }
    const QByteArray data = port_.readAll();
    if (trace && !data.isEmpty()) {
        trace(false, QString::fromLatin1(data.toHex()).toUpper());
    }
    return data;
}

}  // namespace zun::link
