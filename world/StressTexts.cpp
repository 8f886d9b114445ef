#include "world/StressTexts.h"

namespace Ostrel::TV::Tool {

std::string repeat(const std::string& text, std::size_t bytes) {
    std::string all;
    while (all.size() + text.size() <= bytes)
        all += text;
    return all;
}

// Characters that cannot be seen, or that change how their neighbours stand, are written as escapes.
const std::vector<StressText>& stressTexts() {
    constexpr std::size_t most = 255; // bytes of a DVB text
    static const std::vector<StressText> texts = {
        // Short, long, nothing.
        {"X", "Y."},
        {repeat("Donaudampfschifffahrtsgesellschaft", most) + "Donaudampfschifff",
         repeat("unbreakable", most)},
        {"A Title of So Many Words That It Would Fill Any Line: Being a True and Particular Account of "
         "What Befell the Crew, the Cargo and the Cat of the Good Ship Perseverance Between the Narrows "
         "and the Sound, as Told by Those Who Were There, Part Two",
         repeat("A synopsis that goes on. ", most - 1) + "!"},
        {"Without a Synopsis", ""},
        {"", "An event without a title."},
        {"A Long Story",
         repeat("It goes on, further than any broadcast would carry it. ", 4000) + "The end."},
        {"\u00A0", "The title is a no-break space."},

        // Right to left, alone and among other letters.
        {"أخبار المساء من الميناء", "تقرير كامل عن أحداث اليوم في المدينة والميناء، مع النشرة الجوية."},
        {"חדשות הערב", "כל מה שקרה היום, ומזג האוויר למחר (חלק 2 מתוך 3)."},
        {"Live: مباراة 2–1 (HD) חי", "Left, يمين, left again, שוב ימין: 3 + 4 = 7."},
        {"Turned \u202Edrawkcab\u202C and back", "An override \u202Eruns to the end of the text"},

        // Other scripts.
        {"शाम का समाचार", "दिन भर की घटनाओं का पूरा विवरण, और कल का मौसम।"},
        {repeat("晚间新闻", most), repeat("今日港口与城市的详细报道以及明天的天气。", most)},
        {"夜のニュース：港町だより", "一日の出来事と明日の天気をお伝えします。出演：ほか"},
        {"저녁 뉴스", "오늘 항구와 도시에서 일어난 일과 내일의 날씨."},
        {repeat("ข่าวภาคค่ำจากท่าเรือ", most), "รายงานเหตุการณ์ประจำวันและพยากรณ์อากาศ"},
        {"Вечерние новости", "Подробный рассказ о событиях дня и погода на завтра."},
        {"Βραδινές Ειδήσεις", "Τα γεγονότα της ημέρας και ο καιρός."},
        {"İstanbul'da ıssız bir gece: Straße, GROẞ, ﬁn", "What is upper case here is not so there."},

        // Marks above and below; the same letters composed and not.
        {"Z\u0351\u036B\u0343a\u0329\u034E\u0348l\u0349\u0351\u0352g\u0321\u0353o\u0354\u0300\u0301\u0302",
         repeat("a\u0301\u0302\u0303\u0304\u0305", most)},
        {"Caf\u00E9 and Cafe\u0301", "Cre\u0300me bru\u0302le\u0301e, cr\u00E8me br\u00FBl\u00E9e."},

        // Characters of four bytes.
        {"The 🦊 and the 🐔", "A fable 🌾 for the smallest 👶🏽, with 🎶."},
        {repeat("🎬", most), repeat("👩‍👩‍👧‍👦", most)},
        {"🏳️‍🌈 🇬🇧 🏴\U000E0067\U000E0062\U000E0073\U000E0063\U000E0074\U000E007F 1️⃣",
         "𝔊𝔬𝔱𝔥𝔦𝔠 𐍈 𠜎 \U0010FFFD"},

        // Taken for something else.
        {"<b>Bold</b> & <script>alert('hello')</script>", "<img src=x onerror=alert(1)> ]]> <!-- -->"},
        {"&lt;Escaped&gt; &amp;amp; &#x41;", "Tom & Jerry & sons &c; 1 < 2 > 0"},
        {R"("Quoted" and 'quoted')", R"(A backslash \ and two \\, a \" and a \u0041, a C:\new\table.)"},
        {"null", "undefined"},
        {"%s %n %x ${title} {{title}} $(title) `title`", "'; DROP TABLE events; --"},
        {"=1+1", "#title | event 1 | none"},
        {"-", "..."},
        {"../../title", "https://example.test/?a=1&b=\"2\"#three"},

        // Not to be seen.
        {"Zero\u200Bwidth\u200D \u2060and\uFEFF soft\u00ADhyphens",
         "Line\u2028separator and paragraph\u2029separator."},
        {"A\u3000B\u2003C\u2009D", "Blanks of many widths."},
    };
    return texts;
}

} // namespace Ostrel::TV::Tool
