#include "generated_titles.h"

#include <array>
#include <random>
#include <string>

#include "ean.h"
#include "timestamp.h"

namespace devshop {
namespace {

using Words = std::vector<const char*>;

/// The words of a language. A title is a beginning and an ending, which are equally many.
struct Vocabulary {
  const char* language;
  int share;              // of every 20 titles
  const char* separator;  // between words
  const char* summary;
  Words beginnings;
  Words endings;
  Words first_names;
  Words last_names;
  Words subjects;
};

const std::array<Vocabulary, 10> kVocabularies{{
    {"de",
     6,
     " ",
     "Eine Geschichte über Wünsche, Umwege und die Größe kleiner Orte.",
     {"Der lange Weg nach", "Die Müßigen von", "Ein Sommer in", "Das Geheimnis von",
      "Die Straße nach", "Nächte über", "Abschied von", "Rückkehr nach", "Die Töchter von",
      "Küche und Keller in", "Der Schlüssel von", "Briefe aus", "Die Gärten von", "Spuren in",
      "Süßes aus", "Kein Zug nach"},
     {"Überlingen", "Görlitz", "Husum", "Köpenick", "Weißenfels", "Füssen", "Lübeck", "Emden",
      "Großenhain", "Mühlhausen", "Jever", "Schwäbisch Hall", "Kötzting", "Meißen", "Wörlitz",
      "Zürich"},
     {"Jürgen", "Änne", "Björn", "Käthe", "Götz", "Ursula", "Matthias", "Zoë", "Renate", "Ole"},
     {"Müller", "Weiß", "Schröder", "Groß", "Öttinger", "Voß", "Krämer", "Jäger", "Lüders",
      "Strauß", "Behrens"},
     {"Roman", "Krimi", "Reise", "Küche"}},
    {"en",
     5,
     " ",
     "A story of small harbours, long letters and one unanswered question.",
     {"The Last Ferry to", "A Winter in", "The Clockmaker of", "Letters from", "The Road to",
      "No Rain over", "The Daughters of", "Murder in", "Return to", "The Gardens of",
      "A Short History of", "The Keeper of", "Songs from", "Beyond", "The Bells of",
      "Breakfast in"},
     {"Aldeburgh", "Tobermory", "Whitby", "St Ives", "Inverness", "Hay-on-Wye", "Galway",
      "Penzance", "Kirkwall", "Ludlow", "Saltaire", "Dún Laoghaire", "Lyme Regis", "Portmeirion",
      "Wells", "Ballycastle"},
     {"Margaret", "Siân", "Oliver", "Niamh", "George", "Zadie", "Hamish", "Eleanor", "Chloë"},
     {"Ashworth", "O'Neill", "MacLeod", "Brontley", "Okonkwo", "Pemberton", "Hughes", "Fairfax",
      "Quill", "Ó Briain"},
     {"Fiction", "Crime", "Travel", "History"}},
    {"fr",
     2,
     " ",
     "Un récit tout en nuances sur la mémoire, la mer et l'été.",
     {"Un été à", "Le secret de", "La dernière nuit à", "Les élèves de", "Retour à",
      "La forêt près de", "Le maître de", "Les fenêtres de"},
     {"Saint-Malo", "Besançon", "Nîmes", "Orléans", "Sète", "Angoulême", "Liège", "Genève"},
     {"Éloïse", "François", "Noémie", "Jérôme", "Anaïs", "Gaël", "Cécile"},
     {"Lefèvre", "Dubois", "Béranger", "Noël", "Château", "Gagné", "Rousseau", "d'Argent"},
     {"Roman", "Policier", "Voyage"}},
    {"pl",
     1,
     " ",
     "Opowieść o rodzinie, rzece i dawnych obietnicach.",
     {"Ostatnia noc w mieście", "Tajemnica miasta", "Zima w mieście", "Listy z miasta",
      "Córki miasta", "Światła miasta", "Żółte okna miasta", "Droga do miasta"},
     {"Łódź", "Kraków", "Gdańsk", "Poznań", "Przemyśl", "Wrocław", "Żywiec", "Toruń"},
     {"Łukasz", "Małgorzata", "Święta", "Józef", "Żaneta", "Paweł", "Agnieszka"},
     {"Wójcik", "Dąbrowska", "Kozłowski", "Źródło", "Szczęsna", "Nowak", "Gołąb", "Mądry"},
     {"Powieść", "Kryminał"}},
    {"el",
     1,
     " ",
     "Μια ιστορία για το ταξίδι, τη θάλασσα και την επιστροφή.",
     {"Οδηγός για", "Καλοκαίρι σε", "Το μυστικό για", "Γράμματα από", "Ο δρόμος προς", "Νύχτες σε",
      "Επιστροφή σε", "Τραγούδια από"},
     {"την Ύδρα", "τη Θεσσαλονίκη", "την Πάτρα", "τη Νάξο", "τα Ιωάννινα", "τη Χίο", "την Κρήτη",
      "τον Βόλο"},
     {"Γιώργος", "Ελένη", "Νίκος", "Σοφία", "Οδυσσέας", "Άννα", "Χρήστος"},
     {"Παπαδόπουλος", "Γεωργίου", "Αγγελής", "Δημητρίου", "Κωνσταντίνου", "Νικολαΐδης", "Ράλλης",
      "Ψαρράς"},
     {"Μυθιστόρημα", "Ταξίδια"}},
    {"ru",
     1,
     " ",
     "Повесть о долгой зиме, старом доме и новом начале.",
     {"Дорога в", "Письма из города", "Зима в городе", "Тайна города", "Возвращение в город",
      "Огни города", "Дочери города", "Ёлка из города"},
     {"Псков", "Орёл", "Суздаль", "Вологда", "Казань", "Тверь", "Ярославль", "Выборг"},
     {"Алексей", "Фёдор", "Анна", "Пётр", "Ольга", "Семён", "Наталья"},
     {"Соловьёва", "Иванов", "Чехова", "Королёв", "Щербакова", "Юрьев", "Эртель", "Яблочкина"},
     {"Роман", "Детектив"}},
    {"zh",
     1,
     "",
     "一个关于城市、河流与归途的故事。",
     {"雨中的", "消失的", "最后的", "故乡的", "夜色里的", "寻找", "远方的", "冬天的"},
     {"北京", "苏州", "西湖", "长江", "茶馆", "火车站", "书店", "花园"},
     {"伟", "芳", "静", "小明", "丽华", "建国", "雪"},
     {"王", "李", "张", "刘", "陈", "杨", "赵", "欧阳"},
     {"小说", "旅行"}},
    {"ja",
     1,
     "",
     "小さな町と海をめぐる、静かな物語。",
     {"雪の", "さよなら、", "夜の", "はじめての", "消えた", "夏休みの", "猫と", "東京の"},
     {"ラーメン", "図書館", "海辺", "郵便局", "ピアノ", "がっこう", "喫茶店", "電車"},
     {"さくら", "健太", "ゆき", "太郎", "花子", "蓮", "美咲"},
     {"佐藤", "鈴木", "高橋", "渡辺", "山本", "小林", "加藤", "村井"},
     {"小説", "料理"}},
    {"he",
     1,
     " ",
     "סיפור על בית ישן, ים רחוק ומכתב שלא נשלח.",
     {"הדרך אל", "חורף בעיר", "סודות של", "מכתבים מן", "הלילה האחרון של", "הבנות של", "שירים מן",
      "אורות של"},
     {"חיפה", "ירושלים", "צפת", "יפו", "הגליל", "הנגב", "הכרמל", "עכו"},
     {"יעל", "דוד", "נועה", "יוסף", "רות", "איתן", "תמר"},
     {"כהן", "לוי", "מזרחי", "פרץ", "ביטון", "אברהם", "שלום", "גולן"},
     {"רומן", "מסע"}},
    {"ar",
     1,
     " ",
     "حكاية عن مدينة قديمة وبحر بعيد ورسالة لم تصل.",
     {"الطريق إلى", "شتاء في", "أسرار", "رسائل من", "الليلة الأخيرة في", "بنات", "أغاني من",
      "العودة إلى"},
     {"القاهرة", "بيروت", "دمشق", "فاس", "بغداد", "تونس", "مسقط", "القدس"},
     {"ليلى", "أحمد", "فاطمة", "يوسف", "نور", "سامي", "هدى"},
     {"حداد", "منصور", "الخوري", "نجار", "عبد الله", "سعيد", "الطيب", "شاهين"},
     {"رواية", "سفر"}},
}};

constexpr std::time_t kFirstPublished = 946'684'800;  // 2000-01-01
constexpr std::uint64_t kPublishedSpan_s = 25ULL * 365 * 86'400;

const char* Pick(const Words& words, std::uint64_t number) {
  return words[number % words.size()];
}

/// The language of the title at a position: each appears in its share of every 20 positions.
const Vocabulary& VocabularyAt(std::size_t position) {
  auto slot = static_cast<int>(position * 7 % 20);  // 7 spreads the languages
  const Vocabulary* vocabulary = kVocabularies.data();
  for (; slot >= vocabulary->share; ++vocabulary) slot -= vocabulary->share;
  return *vocabulary;
}

/// The title with a number among those of its language; a number beyond all pairs is a new volume.
std::string GenerateName(const Vocabulary& words, std::size_t number) {
  const std::size_t size = words.beginnings.size();
  const auto volume = number / (size * size) + 1;
  return Pick(words.beginnings, number) + std::string(words.separator) +
         Pick(words.endings, number / size + number) +
         (volume > 1 ? " " + std::to_string(volume) : "");
}

std::string GenerateAuthor(const Vocabulary& words, std::uint64_t number) {
  const std::string first = Pick(words.first_names, number);
  const std::string last = Pick(words.last_names, number / words.first_names.size());
  return *words.separator == '\0' ? last + first : first + words.separator + last;
}

void SetFormat(std::uint64_t number, Title& title) {
  const bool epub = number % 10 < 7, pdf = !epub && number % 10 < 9;
  title.format = epub ? "epub" : pdf ? "pdf" : "txt";
  title.type = epub  ? "application/epub+zip"
               : pdf ? "application/pdf"
                     : "text/plain; charset=utf-8";
  title.file = title.ean + "." + title.format;
}

}  // namespace

std::vector<Title> GenerateTitles(std::size_t count) {
  std::vector<Title> titles(count);
  std::array<std::size_t, kVocabularies.size()> numbers{};  // of titles by language
  std::mt19937_64 random;                                   // its sequence is the same everywhere
  for (std::size_t i = 0; i < count; ++i) {
    const Vocabulary& words = VocabularyAt(i);
    Title& title = titles[i];
    const std::string digits = std::to_string(i);
    title.ean = CompleteEan("9799" + std::string(8 - digits.size(), '0') + digits);
    title.title =
        GenerateName(words, numbers[static_cast<std::size_t>(&words - kVocabularies.data())]++);
    title.author = GenerateAuthor(words, random());
    title.language = words.language;
    title.summary = words.summary;
    title.subject = Pick(words.subjects, random());
    const auto price = random() % 25;
    title.price_hundredths = price == 0 ? 0 : static_cast<long>(price * 100 - 1);
    title.published =
        FormatTime(kFirstPublished + static_cast<std::time_t>(random() % kPublishedSpan_s));
    SetFormat(random(), title);
    title.generated = true;
  }
  return titles;
}

}  // namespace devshop
