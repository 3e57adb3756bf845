#pragma once

#include <QString>

#include <stdexcept>

namespace zun::link {

// Raised when a value does not fit the field it is meant for (a scaled value outside the
// signed 16-bit range, or a hex text beyond 32 bits). The window turns it into a message box.
class OverflowError : public std::runtime_error {
public:
    OverflowError() : std::runtime_error("Overflow") {}
};

// Hex text brought to 2 digits (mode 1) or 4 digits (any other mode), cut from the left.
QString PadHex(const QString& text, int mode);

// Hex text to a number. "FF" and "FFFF" (exactly) are the charger's "unset" markers and read
// as 0; foreign characters add nothing. Throws OverflowError beyond the 32-bit range.
qint32 HexToNumber(const QString& text);

// A control's text to a number: every upper-case "V" removed, blanks around allowed, "&H" hex
// accepted, "." as the decimal point. Anything unreadable gives 0.
float TextToSingle(const QString& text);

// x written with the given number of decimals, halves rounded away from zero on the exact value
// of x (14.45f is 14.4499998 and shows as 14.4). Never "-0".
QString FormatFixed(double x, int decimals);

// Display text: mode 0 pattern "0"; otherwise "0" for whole numbers and "0.0" for the rest.
QString FormatValue(const QString& text, int mode);

// Whole-number conversion of a scaled value: nearest, ties to even; OverflowError outside
// -32768..32767.
qint16 ToInt16(double value);

// Upper-case hex text of a 16-bit integer; negative values give their two's complement (FFF6).
QString HexOfInt16(qint16 value);

// The number-to-field step of every write: (value * scale) in single precision, to a signed
// 16-bit integer, to hex, padded to one byte (bytes == 1) or two bytes (bytes == 2).
QString NumberToField(float value, float scale, int bytes);

// An integer written with the "00" pattern (at least two decimal digits), as the profile and
// stage numbers of the write frames are.
QString Format00(int value);

// True when every character of the text is a hexadecimal digit (either case).
bool IsHexText(const QString& text);

}  // namespace zun::link
