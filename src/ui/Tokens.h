#pragma once

#include <QRgb>
#include <array>

namespace tavrin {

/// What a colour means on screen. Views name meanings; the values of light and dark stand in `tokenColors` alone.
enum class Token {
    window,
    side,
    surface,
    panel,
    field,
    sunken,
    line,
    line2,
    mark,
    text,
    text2,
    disabled,
    hover,
    press,
    select,
    accent,
    accentHover,
    accentPress,
    onAccent,
    accentTint,
    accentText,
    them,
    themTint,
    rec,
    recText,
    recHover,
    recPress,
    onRec,
    recTint,
    warn,
    warnText,
    warnTint,
    warnLine,
    speaker1,
    speaker2,
    speaker3,
    speaker4,
    speaker5,
    speaker6,
    speaker7,
    speaker8,
    track,
    thumb,
    knob,
    knobOn,
    tip,
    tipText,
    segmentOn,
    badge,
    veil,
    shadow,
    clear,
    count
};

struct TokenColor {
    Token token;
    QRgb light; // 0xAARRGGBB
    QRgb dark;
};

inline constexpr std::array<TokenColor, static_cast<std::size_t>(Token::count)> tokenColors{{
    {Token::window, 0xFFF6F5F2, 0xFF1B1B1A},      {Token::side, 0xFFEFEDE8, 0xFF161615},
    {Token::surface, 0xFFFFFFFF, 0xFF252524},     {Token::panel, 0xFFFFFFFF, 0xFF2A2A29},
    {Token::field, 0xFFFFFFFF, 0xFF1F1F1E},       {Token::sunken, 0xFFF1EFEA, 0xFF1F1F1E},
    {Token::line, 0xFFE4E1DA, 0xFF383735},        {Token::line2, 0xFFCFCBC2, 0xFF4C4A46},
    {Token::mark, 0xFF8A867C, 0xFF85817A},        {Token::text, 0xFF1D1C1A, 0xFFECEAE5},
    {Token::text2, 0xFF67645D, 0xFFA6A299},       {Token::disabled, 0xFFA6A298, 0xFF6E6B65},
    {Token::hover, 0xFFF3F1EC, 0xFF2D2D2B},       {Token::press, 0xFFE7E4DD, 0xFF363533},
    {Token::select, 0xFFE6E3DC, 0xFF2C2C2A},      {Token::accent, 0xFF1E7A6C, 0xFF4FB3A3},
    {Token::accentHover, 0xFF1A6C60, 0xFF63C2B2}, {Token::accentPress, 0xFF155A50, 0xFF3F9D8E},
    {Token::onAccent, 0xFFFFFFFF, 0xFF0E1F1C},    {Token::accentTint, 0xFFE4F0ED, 0xFF22332F},
    {Token::accentText, 0xFF1C7467, 0xFF5BBCAC},  {Token::them, 0xFF4B57C9, 0xFF8E97F0},
    {Token::themTint, 0xFFECEDFA, 0xFF2A2C40},    {Token::rec, 0xFFD2412D, 0xFFF0705C},
    {Token::recText, 0xFFB93522, 0xFFF38371},     {Token::recHover, 0xFFC23A27, 0xFFF58472},
    {Token::recPress, 0xFFA8301F, 0xFFDB5F4B},    {Token::onRec, 0xFFFFFFFF, 0xFF2A0F0A},
    {Token::recTint, 0xFFFAEAE6, 0xFF3A2622},     {Token::warn, 0xFFA86E12, 0xFFE0A84C},
    {Token::warnText, 0xFF825408, 0xFFE0A84C},    {Token::warnTint, 0xFFF8F0E0, 0xFF332B1C},
    {Token::warnLine, 0xFFE9D8B5, 0xFF4E4127},    {Token::speaker1, 0xFF895709, 0xFFD3A268},
    {Token::speaker2, 0xFF8C4971, 0xFFD894BA},    {Token::speaker3, 0xFF186A99, 0xFF72B5E3},
    {Token::speaker4, 0xFF33733F, 0xFF82BD8A},    {Token::speaker5, 0xFF715293, 0xFFBA9DDD},
    {Token::speaker6, 0xFF96493E, 0xFFE29689},    {Token::speaker7, 0xFF626A14, 0xFFAAB46C},
    {Token::speaker8, 0xFF6B6257, 0xFFB9AFA3},    {Token::track, 0xFFDEDAD1, 0xFF403F3C},
    {Token::thumb, 0xFFC6C2B8, 0xFF55534F},       {Token::knob, 0xFFFFFFFF, 0xFFF2F0EB},
    {Token::knobOn, 0xFFFFFFFF, 0xFF0E1F1C},      {Token::tip, 0xFF2B2A28, 0xFFECEAE5},
    {Token::tipText, 0xFFF6F5F2, 0xFF1D1C1A},     {Token::segmentOn, 0xFFFFFFFF, 0xFF363533},
    {Token::badge, 0xFFF1EFEA, 0xFF363533},       {Token::veil, 0x611E1C18, 0x8C000000},
    {Token::shadow, 0x33000000, 0x8C000000},      {Token::clear, 0x00000000, 0x00000000},
}};

/// The order in which further speakers of a meeting get their colours.
inline constexpr std::array speakerTokens{Token::speaker1, Token::speaker3, Token::speaker4, Token::speaker2,
                                          Token::speaker5, Token::speaker6, Token::speaker7, Token::speaker8};

} // namespace tavrin
