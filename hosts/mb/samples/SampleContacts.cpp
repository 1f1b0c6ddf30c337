#include "SampleContacts.h"

#include <cstdio>
#include <iterator>

namespace mbsamples {
namespace {

struct Person {
    const char *first, *last, *city, *country, *mail;
};

constexpr Person people[] = {
    {"Anna", "Lindqvist", "Göteborg", "Sverige", "anna.lindqvist"},
    {"Bjørn", "Ødegård", "Tromsø", "Norge", "bjorn.odegard"},
    {"Päivi", "Mäkelä", "Tampere", "Suomi", "paivi.makela"},
    {"Guðrún", "Þórsdóttir", "Akureyri", "Ísland", "gudrun"},
    {"Jürgen", "Weiß", "Köln", "Deutschland", "juergen.weiss"},
    {"Éloïse", "Lefèvre", "Besançon", "France", "eloise.lefevre"},
    {"José", "Muñoz Ibáñez", "Logroño", "España", "jose.munoz"},
    {"Conceição", "Magalhães", "São Paulo", "Brasil", "conceicao"},
    {"Niccolò", "D'Amico", "Forlì", "Italia", "niccolo.damico"},
    {"Ștefan", "Țurcanu", "Iași", "România", "stefan.turcanu"},
    {"Łukasz", "Żółkiewski", "Łódź", "Polska", "lukasz"},
    {"Zdeňka", "Dvořáčková", "Plzeň", "Česko", "zdenka"},
    {"Ľubomír", "Šťastný", "Košice", "Slovensko", "lubomir"},
    {"Őrsike", "Fűzfői", "Győr", "Magyarország", "orsike"},
    {"Đorđe", "Čavić", "Niš", "Srbija", "djordje"},
    {"İpek", "Yıldırım", "Şanlıurfa", "Türkiye", "ipek"},
    {"Māra", "Bērziņa", "Rēzekne", "Latvija", "mara.berzina"},
    {"Žydrūnė", "Šimkutė", "Šiauliai", "Lietuva", "zydrune"},
    {"Siôn", "ap Dafydd", "Caernarfon", "Cymru", "sion"},
    {"Nguyễn", "Thị Hạnh", "Đà Nẵng", "Việt Nam", "hanh.nguyen"},
    {"Αλέξανδρος", "Παπαδόπουλος", "Θεσσαλονίκη", "Ελλάδα", "alexandros"},
    {"Ελένη", "Καραγιάννη", "Ηράκλειο", "Ελλάδα", "eleni"},
    {"Ольга", "Соколова", "Казань", "Россия", "olga"},
    {"Тарас", "Їжакевич", "Чернівці", "Україна", "taras"},
    {"Мария", "Щерева", "Пловдив", "България", "maria.shtereva"},
    {"Әсел", "Нұрғалиева", "Алматы", "Қазақстан", "asel"},
    {"Энхтуяа", "Бат-Эрдэнэ", "Дархан", "Монгол", "enkhtuya"},
    {"ნინო", "წერეთელი", "ქუთაისი", "საქართველო", "nino"},
    {"Հայկ", "Մկրտչյան", "Գյումրի", "Հայաստան", "hayk"},
    {"נועה", "בן־דוד", "חיפה", "ישראל", "noa"},
    {"ليلى", "الحداد", "عمّان", "الأردن", "layla"},
    {"زهرا", "کریمی", "شیراز", "ایران", "zahra"},
    {"فاطمہ", "قریشی", "لاہور", "پاکستان", "fatima"},
    {"प्रिया", "श्रीवास्तव", "लखनऊ", "भारत", "priya"},
    {"অনিন্দিতা", "চট্টোপাধ্যায়", "কলকাতা", "ভারত", "anindita"},
    {"ਗੁਰਪ੍ਰੀਤ", "ਸਿੰਘ", "ਅੰਮ੍ਰਿਤਸਰ", "ਭਾਰਤ", "gurpreet"},
    {"தமிழ்ச்செல்வி", "முருகன்", "மதுரை", "இந்தியா", "tamilselvi"},
    {"లక్ష్మి", "రెడ్డి", "విశాఖపట్నం", "భారతదేశం", "lakshmi"},
    {"นภัสวรรณ", "ศรีสุวรรณ", "เชียงใหม่", "ประเทศไทย", "napat"},
    {"ម៉ាលី", "សុខ", "សៀមរាប", "កម្ពុជា", "maly"},
    {"ሰላም", "ተስፋዬ", "ጎንደር", "ኢትዮጵያ", "selam"},
    {"丽华", "欧阳", "成都", "中国", "lihua"},
    {"淑芬", "陳", "臺南", "臺灣", "shufen"},
    {"さくら", "渡邊", "横浜", "日本", "sakura"},
    {"𠮷郎", "髙橋", "札幌", "日本", "yoshiro"},
    {"민준", "황보", "부산", "대한민국", "minjun"},
    {"Nālani", "Kealoha", "Hilo", "Hawaiʻi", "nalani"},
    {"Chidiọgọ", "Okpalaọka", "Enugu", "Nigeria", "chidiogo"},
};

struct Work {
    const char *company, *title;
};

constexpr Work works[] = {
    {"Harbour & Sons, Ltd.", "Purchasing"},        {"Werkstatt Süd", "Meisterin"},   {"Café «Au Coin»", "Owner"}, {"", ""},
    {"Nordlys Shipping; Logistics", "Dispatcher"}, {"Клиника «Здоровье»", "Doctor"}, {"東京印刷", "Editor"},
};

std::string number(const char* format, std::size_t value)
{
    char text[40];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

SampleContact makeContact(std::size_t index)
{
    const std::size_t round = index / std::size(people);
    const Person& person = people[index % std::size(people)];
    const Work& work = works[index % std::size(works)];
    SampleContact contact;
    contact.first = person.first;
    contact.last = round == 0 ? person.last : person.last + number(" %zu", round + 1);
    contact.company = work.company;
    contact.title = work.title;
    contact.street = number("%zu Sample Street", index + 1);
    contact.city = person.city;
    contact.zipCode = number("%05zu", 10000 + index);
    contact.country = person.country;
    contact.mobile = number("+1 202 555 %04zu", index % 10000);
    contact.mail = person.mail + (round == 0 ? std::string() : number(".%zu", round + 1)) + "@example.org";
    if (index % 3 == 0)
        contact.birthday = number("19%02zu", 50 + index % 50) + number("-%02zu", 1 + index % 12) + number("-%02zu", 1 + index % 28);
    if (index % 4 == 0) contact.notes = "Met at the fair; likes tea, not coffee.\nCall before noon.";
    return contact;
}

} // namespace

std::size_t listedContacts() { return std::size(people); }

std::vector<SampleContact> sampleContacts(std::size_t count)
{
    std::vector<SampleContact> contacts;
    contacts.reserve(count);
    for (std::size_t i = 0; i < count; ++i) contacts.push_back(makeContact(i));
    return contacts;
}

} // namespace mbsamples
