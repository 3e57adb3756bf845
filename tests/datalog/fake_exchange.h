#pragma once

#include "link/exchange.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QStringList>

#include <functional>

// A charger by script: replies by request text (or from a function), the streamed transfer as
// a list of reads, and a record of everything the code under test did.
class FakeExchange : public zun::link::Exchange {
public:
    QMap<QString, QString> replies;
    std::function<QString(const QString&)> responder;  // used when replies has no entry
    QList<QByteArray> streamReads;                     // one element per ReadWaiting call

    QStringList requests;
    QList<float> waits;
    QList<QByteArray> written;
    int reads = 0;

    QString SendFrame(const QString& frame) override {
        requests << frame;
        if (replies.contains(frame)) {
            return replies.value(frame);
        }
        return responder ? responder(frame) : QString();
    }
    void WaitSeconds(float seconds) override { waits << seconds; }
    bool ResetAndWrite(const QByteArray& bytes) override {
        written << bytes;
        return true;
    }
    QByteArray ReadWaiting() override {
        ++reads;
        return streamReads.isEmpty() ? QByteArray() : streamReads.takeFirst();
    }
};
