#include "link/exchange.h"

namespace zun::link {

QString DescribeLineFailure(const ExchangeOutcome& outcome) {
    switch (outcome.end) {
        case ExchangeEnd::HardByteLimit:
            return QStringLiteral(
                       "the line did not fall quiet (more than %1 bytes, the longest reply "
                       "has fewer)")
                .arg(outcome.limits.bytes);
        case ExchangeEnd::HardTimeLimit:
            return QStringLiteral("the line did not fall quiet (still sending after %1 s)")
                .arg(outcome.limits.milliseconds / 1000.0, 0, 'f', 1);
        case ExchangeEnd::PortLost:
            return QStringLiteral("the port vanished during the exchange");
        default:
            return QString();
    }
}

}  // namespace zun::link
