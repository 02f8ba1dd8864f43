#include "gate/qrText.h"

#include <qrencode.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace gate {
namespace {

constexpr int kQuietZone = 4;
/// Numbers of the fixed part of 256 colours: a terminal's own black and white may be anything.
constexpr const char* kBlackOnWhite = "\033[38;5;16;48;5;231m";
constexpr const char* kOwnColours = "\033[m";

struct CodeFreer {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

/// Also for modules of the quiet zone.
bool isDark(const QRcode& code, int row, int column) {
    const bool isInside = row >= 0 && row < code.width && column >= 0 && column < code.width;
    return isInside && (code.data[row * code.width + column] & 1) != 0;
}

}  // namespace

std::string qrText(const std::string& text, bool isColoured) {
    // A screen is never torn or dirty, so the least correction and the largest modules.
    const std::unique_ptr<QRcode, CodeFreer> code(
        QRcode_encodeString8bit(text.c_str(), 0, QR_ECLEVEL_L));
    if (!code) {
        throw std::runtime_error(std::string("no QR code: ") + strerror(errno));
    }
    std::string lines;
    for (int row = -kQuietZone; row < code->width + kQuietZone; row += 2) {
        lines += isColoured ? kBlackOnWhite : "";
        for (int column = -kQuietZone; column < code->width + kQuietZone; ++column) {
            const bool isUpper = isDark(*code, row, column);
            const bool isLower = isDark(*code, row + 1, column);
            lines += isUpper ? isLower ? "█" : "▀" : isLower ? "▄" : " ";
        }
        lines += isColoured ? kOwnColours : "";
        lines += '\n';
    }
    return lines;
}

}  // namespace gate
