#include "driver_model/field.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace model {

namespace {

constexpr const char* kFirstNames[] = {
    "Ada",    "Björn",  "Caelan", "Dmitar", "Élodie", "Frey",  "Gintarė", "Håkon", "Ivo",
    "Jūratė", "Kwame",  "Łukasz", "Mirela", "Nuno",   "Øyvin", "Petra",   "Quill", "Rasmus",
    "Søren",  "Tomasz", "Ulla",   "Vašek",  "Wren",   "Xoán",  "Yusra",   "Zoë",   "André",
};
constexpr const char* kLastNames[] = {
    "Norrwood",  "Alderbrandt", "Çelinay",   "Dübrecht",  "Eskelund",  "Fjordmark", "Gałczewik",
    "Hollowby",  "Ibarnegui",   "Jörnvall",  "Kestrano",  "Lindqvarn", "Müllhofer", "Nováčik",
    "Ó Dornáin", "Peñalver",    "Quistgard", "Ravensby",  "Šimonek",   "Tarnowik",  "Umberley",
    "Valdério",  "Wexcombe",    "Ximello",   "Yarrowitz", "Žukeliūn",  "Ashgrove",  "Brackenhurst",
};
// Names that test a display: no blank, many letters, letters that take three bytes.
struct Odd {
    int car;
    const char *first, *last;
};
constexpr Odd kOdd[] = {
    {3, "翔太", "星野原"},
    {7, "Maximiliana-Theodora", "von Hohenfelsenbrück-Wasserstraßburg zu Unterlindenau"},
    {11, "さくら", "風見川"},
    {16, "Ng", "O"},
    {22, "Александра", "Верхоземская-Подлипчук"},
    {29, "ΓΙΏΡΓΟΣ", "Πετρόμυλος"},
};
constexpr const char* kTeams[] = {
    "Northgate Racing", "Équipe Valmorin",   "Team Silbersee", "Copper Fox Motorsport",
    "Blue Heron GP",    "Scuderia Lucente",  "風見レーシング", "Old Mill Autosport",
    "Kestrel Works",    "Hafnarfell Racing",
};
constexpr const char* kBrands[] = {"Falcon", "Meridian", "Corvane", "Tyrell-Voss", "Aurelio"};

CarClass makeClass(const char* name, double mass, double power, double grip, double downforce,
                   double drag, double topSpeed) {
    CarClass c;
    c.name = name;
    c.mass = mass;
    c.power = power;
    c.grip = grip;
    c.downforce = downforce;
    c.drag = drag;
    c.topSpeed = topSpeed;
    return c;
}

std::string lower(std::string text) {
    for (char& letter : text)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32)
                 : letter == ' '                ? '_'
                                                : letter;
    return text;
}

/// The first three letters of a name, each with all its bytes.
std::string shortOf(const std::string& name) {
    std::string out;
    int letters = 0;
    for (const char byte : name) {
        if ((byte & 0xC0) != 0x80 && letters++ == 3) break;
        out += byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 32) : byte;
    }
    return out;
}

uint32_t mixed(uint32_t h) {
    h = (h ^ h >> 16) * 2246822519u;
    h = (h ^ h >> 13) * 3266489917u;
    return h ^ h >> 16;
}

} // namespace

double chance(const Race& race, int car, int lap, uint32_t salt) {
    uint32_t h = mixed(race.settings.seed * 2654435761u + 1);
    h = mixed(h + static_cast<uint32_t>(car) * 40503u);
    h = mixed(h + static_cast<uint32_t>(lap + 8) * 97u);
    return static_cast<double>(mixed(h + salt)) / 4294967295.0;
}

double bellChance(const Race& race, int car, int lap, uint32_t salt) {
    double sum = 0;
    for (uint32_t i = 0; i < 4; ++i)
        sum += chance(race, car, lap, salt * 16 + i + 1000);
    return std::clamp((sum - 2) * std::sqrt(3.0), -2.5, 2.5);
}

std::vector<CarClass> makeClasses(int count) {
    CarClass gtp = makeClass("GTP", 1060, 500e3, 1.72, 0.00034, 0.00075, 93);
    gtp.gears = 7;
    gtp.fuelCapacity = 90;
    gtp.fuelPerKm = 0.62;
    gtp.wheelBase = 3.15;
    CarClass lmp2 = makeClass("LMP2", 1000, 405e3, 1.68, 0.00032, 0.00078, 89);
    lmp2.fuelCapacity = 75;
    lmp2.wheelBase = 3.0;
    const CarClass gt3 = makeClass("GT3", 1320, 415e3, 1.65, 0.00021, 0.00062, 79);
    CarClass gt4 = makeClass("GT4", 1450, 310e3, 1.32, 0.00004, 0.00055, 71);
    gt4.fuelPerKm = 0.45;
    gt4.maxRpm = 7600;
    if (count <= 1) return {gt3};
    if (count == 2) return {gt3, gt4};
    if (count == 3) return {gtp, lmp2, gt3};
    return {gtp, lmp2, gt3, gt4};
}

void makeField(Race& race) {
    const int count = static_cast<int>(race.cars.size());
    const int classes = static_cast<int>(race.classes.size());
    for (int k = 0; k < classes; ++k) {
        CarClass& c = race.classes[static_cast<size_t>(k)];
        c.brand = kBrands[(static_cast<size_t>(k) + 0) % std::size(kBrands)];
        c.model = c.brand + " " + c.name;
        c.modelKey = lower(c.model);
    }
    // The player is in the GT3s: with prototypes, cars come from both sides.
    const int own = classes == 1 ? 0 : classes == 2 ? 0 : 2;
    for (int i = 0; i < count; ++i) {
        Car& car = race.cars[static_cast<size_t>(i)];
        const auto u = static_cast<size_t>(i);
        car.index = i;
        car.number = i == 0 ? 28 : 1 + (i * 37 + 3) % 211;
        if (i > 0 && car.number == 28) car.number = 228;
        car.firstName = kFirstNames[u * 5 % std::size(kFirstNames)];
        car.lastName = kLastNames[(u * 9 + u / std::size(kLastNames)) % std::size(kLastNames)];
        for (const Odd& odd : kOdd)
            if (odd.car == i) {
                car.firstName = odd.first;
                car.lastName = odd.last;
            }
        car.shortName = shortOf(car.lastName);
        car.team = kTeams[u * 3 % std::size(kTeams)];
        car.classIndex = i == 0 ? own : i * classes / count;
    }
}

} // namespace model
