#include "link/codec.h"

#include <QLocale>
#include <QRegularExpression>

#include <cfenv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace zun::link {

QString PadHex(const QString& text, int mode) {
    const int width = (mode == 1) ? 2 : 4;
    const int len = static_cast<int>(text.size());
    if (len == 0) {
        return text;
    }
    if (len >= width) {
        return text.right(width);
    }
    return QString(width - len, QLatin1Char('0')) + text;
}

qint32 HexToNumber(const QString& text) {
    // The markers compare case-sensitively before anything else: "ff" is 255.
    if (text == QLatin1String("FF") || text == QLatin1String("FFFF")) {
        return 0;
    }
    const QString upper = text.toUpper();
    double sum = 0.0;
    double weight = 1.0;
    for (int i = static_cast<int>(upper.size()) - 1; i >= 0; --i) {
        const QChar c = upper.at(i);
        int digit = -1;
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9')) {
            digit = c.unicode() - '0';
        } else if (c >= QLatin1Char('A') && c <= QLatin1Char('F')) {
            digit = c.unicode() - 'A' + 10;
        }
        if (digit > 0) {
            sum += digit * weight;
        }
        weight *= 16.0;
    }
    if (sum > std::numeric_limits<qint32>::max()) {
        throw OverflowError();
    }
    return static_cast<qint32>(sum);
}

namespace {

// "&H" notation: up to four digits is a 16-bit integer (so &HFFFF is -1), more a 32-bit one.
bool parseAmpersandHex(const QString& digits, float& out) {
    static const QRegularExpression hex(QStringLiteral("^[0-9A-Fa-f]{1,8}$"));
    if (!hex.match(digits).hasMatch()) {
        return false;
    }
    const quint32 raw = digits.toUInt(nullptr, 16);
    if (digits.size() <= 4) {
        out = static_cast<float>(static_cast<qint16>(static_cast<quint16>(raw)));
    } else {
        out = static_cast<float>(static_cast<qint32>(raw));
    }
    return true;
}

}  // namespace

float TextToSingle(const QString& text) {
    QString t = text;
    t.remove(QLatin1Char('V'));
    t = t.trimmed();
    if (t.isEmpty()) {
        return 0.0f;
    }
    if (t.startsWith(QLatin1String("&H"), Qt::CaseInsensitive)) {
        float v = 0.0f;
        return parseAmpersandHex(t.mid(2), v) ? v : 0.0f;
    }
    static const QRegularExpression number(
        QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?$"));
    if (!number.match(t).hasMatch()) {
        return 0.0f;
    }
    bool ok = false;
    const double d = QLocale::c().toDouble(t, &ok);
    if (!ok || !std::isfinite(d) || std::fabs(d) > std::numeric_limits<float>::max()) {
        return 0.0f;
    }
    return static_cast<float>(d);
}

QString FormatFixed(double x, int decimals) {
    if (!std::isfinite(x)) {
        return QStringLiteral("0");
    }
    // Exact decimal expansion of the binary value, then rounding by hand, so that a value just
    // below a half (14.4499998) rounds down and an exact half rounds away from zero.
    char buf[512];
    std::snprintf(buf, sizeof buf, "%.80f", std::fabs(x));
    QByteArray s(buf);
    const int dot = s.indexOf('.');
    QByteArray intPart = s.left(dot);
    QByteArray frac = s.mid(dot + 1);
    const bool roundUp = frac.at(decimals) >= '5';
    QByteArray digits = intPart + frac.left(decimals);
    if (roundUp) {
        int i = digits.size() - 1;
        while (i >= 0) {
            if (digits[i] == '9') {
                digits[i] = '0';
                --i;
            } else {
                digits[i] = static_cast<char>(digits[i] + 1);
                break;
            }
        }
        if (i < 0) {
            digits.prepend('1');
        }
    }
    QByteArray whole = digits.left(digits.size() - decimals);
    QByteArray fracOut = digits.right(decimals);
    // Leading zeros of the integer part (from the carry handling) are not wanted.
    while (whole.size() > 1 && whole.at(0) == '0') {
        whole.remove(0, 1);
    }
    bool zero = true;
    for (char c : whole + fracOut) {
        if (c != '0') {
            zero = false;
            break;
        }
    }
    QString out = QString::fromLatin1(whole);
    if (decimals > 0) {
        out += QLatin1Char('.') + QString::fromLatin1(fracOut);
    }
    if (x < 0 && !zero) {
        out.prepend(QLatin1Char('-'));
    }
    return out;
}

QString FormatValue(const QString& text, int mode) {
    const float x = TextToSingle(text);
    if (mode == 0) {
        return FormatFixed(x, 0);
    }
    if (std::floor(x) == x) {
        return FormatFixed(x, 0);
    }
    return FormatFixed(x, 1);
}

qint16 ToInt16(double value) {
    if (!std::isfinite(value)) {
        throw OverflowError();
    }
    const int saved = std::fegetround();
    std::fesetround(FE_TONEAREST);
    const double r = std::nearbyint(value);
    std::fesetround(saved);
    if (r < -32768.0 || r > 32767.0) {
        throw OverflowError();
    }
    return static_cast<qint16>(r);
}

QString HexOfInt16(qint16 value) {
    if (value < 0) {
        return QString::number(static_cast<quint16>(value), 16).toUpper();
    }
    return QString::number(value, 16).toUpper();
}

QString NumberToField(float value, float scale, int bytes) {
    // The product is formed in single precision, as the window holds its values.
    const float scaled = value * scale;
    return PadHex(HexOfInt16(ToInt16(scaled)), bytes == 1 ? 1 : 2);
}

QString Format00(int value) {
    if (value < 0) {
        return QLatin1Char('-') + QString::number(-value).rightJustified(2, QLatin1Char('0'));
    }
    return QString::number(value).rightJustified(2, QLatin1Char('0'));
}

bool IsHexText(const QString& text) {
    for (QChar c : text) {
        const bool hex = (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
                         (c >= QLatin1Char('A') && c <= QLatin1Char('F')) ||
                         (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
        if (!hex) {
            return false;
        }
    }
    return true;
}

}  // namespace zun::link
