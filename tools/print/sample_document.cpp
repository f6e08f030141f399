#include "tools/print/sample_document.h"

#include <string_view>

namespace ksp::print {
namespace {

constexpr int kPictureWidth = 480;  // dots
constexpr int kPictureHeight = 400;

// 72 units to the inch; the picture keeps to what is inside the margins of A4 and of Letter paper.
constexpr std::string_view kPageStart = R"(%!PS
% A sample page: rings around two centres, and what they meet.
/Helvetica-Bold findfont 24 scalefont setfont
56 712 moveto (If you can read this, the port works.) show
/Helvetica findfont 11 scalefont setfont
56 690 moveto (Every byte of this page went through the print port monitor.) show
0.5 setlinewidth
56 676 moveto 536 676 lineto stroke
gsave
56 256 translate
480 400 scale
/dots 480 string def
480 400 8 [480 0 0 -400 0 400]
{ currentfile dots readhexstring pop } image
)";

constexpr std::string_view kPageEnd = R"(grestore
56 232 moveto (480 by 400 dots in 256 shades of grey, each shade two hexadecimal digits.) show
showpage
)";

int SquareOfDistance(int x, int y, int centre_x, int centre_y) {
    const int dx = x - centre_x;
    const int dy = y - centre_y;
    return dx * dx + dy * dy;
}

unsigned Shade(int x, int y) {
    const int rings = SquareOfDistance(x, y, kPictureWidth / 3, kPictureHeight / 2) / 97;
    const int crossing = SquareOfDistance(x, y, kPictureWidth * 2 / 3, kPictureHeight / 2) / 89;
    return static_cast<unsigned>(rings ^ crossing) & 0xFFU;
}

void AppendRow(int y, std::string* page) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr int kDotsInLine = 40;
    for (int x = 0; x < kPictureWidth; ++x) {
        const unsigned shade = Shade(x, y);
        *page += kDigits[shade >> 4];
        *page += kDigits[shade & 0xF];
        if (x % kDotsInLine == kDotsInLine - 1) {
            *page += '\n';
        }
    }
}

}  // namespace

std::string SamplePage() {
    std::string page(kPageStart);
    for (int y = 0; y < kPictureHeight; ++y) {
        AppendRow(y, &page);
    }
    return page.append(kPageEnd);
}

}  // namespace ksp::print
