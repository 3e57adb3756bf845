#pragma once

#include "link/exchange.h"
#include "link/port_refusal.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSerialPort>

#include <functional>

namespace zun::link {

// The charger's serial line: 9600 8N1, binary, no flow control, and the one synchronous
// exchange on it. A vanished adapter closes the port and yields the empty reply.
class SerialLink : public QObject, public Exchange {
    Q_OBJECT
public:
    explicit SerialLink(QObject* parent = nullptr);
    ~SerialLink() override;

    // The device the next open uses (the port number chosen in the port list).
    void setDevice(const QString& device);
    QString device() const { return device_; }

    bool open();
    void close();
    bool isOpen() const { return port_.isOpen(); }
    // Plain words for the last failure to open or use the port (busy, no permission, gone).
    QString lastError() const { return lastError_; }
    // Why the last open failed, with what the user can do about it; kind None after a success.
    const PortRefusal& lastRefusal() const { return lastRefusal_; }

    QString SendFrame(const QString& frame) override;
    void WaitSeconds(float seconds) override;
    bool ResetAndWrite(const QByteArray& bytes) override;
    QByteArray ReadWaiting() override;
    ExchangeOutcome lastOutcome() const override { return outcome_; }
    void setFastMode(bool on) override { fast_ = on; }
    bool fastMode() const override { return fast_; }
    bool lineUp() const override { return port_.isOpen(); }

    // Optional observer of every frame: sent == true for requests, false for replies.
    std::function<void(bool sent, const QString& hex)> trace;

signals:
    void portLost();
    // After every SendFrame, with how it ended.
    void exchangeEnded(const zun::link::ExchangeOutcome& outcome);

private:
    void onError(QSerialPort::SerialPortError error);
    static QString describe(QSerialPort::SerialPortError error);
    QString finish(const QString& hex);
    // Opens the port, or empties the open one of what an earlier exchange left behind.
    bool readyToSend();
    // Polls until the reply is in, the line is quiet or a limit is reached, and notes which in
    // the outcome; the reply's length where fast mode found it complete, else -1.
    qint64 awaitReply(const QByteArray& request, const QElapsedTimer& clock);
    // Fast mode: whether the bytes waiting begin with a complete, sound reply (its length goes
    // to take).
    bool completeFast(const QByteArray& request, qint64 waiting, qint64& take);
    // Reads the reply off the port and checks it; empty when there is none to hand on.
    QString takeReply(const QByteArray& request, qint64 take);
    void waitForBytes(float seconds);

    QSerialPort port_;
    QString device_;
    QString lastError_;
    PortRefusal lastRefusal_;
    ExchangeOutcome outcome_;
    bool fast_ = false;
};

}  // namespace zun::link
