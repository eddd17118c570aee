#include "telemetry/readers/acc_classes.h"

#include <algorithm>
#include <iterator>

namespace vt {

namespace {

struct Row {
    int32_t model;
    AccCarClass what;
};

constexpr Row kRows[] = {
    {0, {"GT3", "Porsche"}},       {1, {"GT3", "Mercedes-AMG"}},  {2, {"GT3", "Ferrari"}},
    {3, {"GT3", "Audi"}},          {4, {"GT3", "Lamborghini"}},   {5, {"GT3", "McLaren"}},
    {6, {"GT3", "Nissan"}},        {7, {"GT3", "BMW"}},           {8, {"GT3", "Bentley"}},
    {9, {"CUP", "Porsche"}},       {10, {"GT3", "Nissan"}},       {11, {"GT3", "Bentley"}},
    {12, {"GT3", "Aston Martin"}}, {13, {"GT3", "Reiter"}},       {14, {"GT3", "Jaguar"}},
    {15, {"GT3", "Lexus"}},        {16, {"GT3", "Lamborghini"}},  {17, {"GT3", "Honda"}},
    {18, {"ST", "Lamborghini"}},   {19, {"GT3", "Audi"}},         {20, {"GT3", "Aston Martin"}},
    {21, {"GT3", "Honda"}},        {22, {"GT3", "McLaren"}},      {23, {"GT3", "Porsche"}},
    {24, {"GT3", "Ferrari"}},      {25, {"GT3", "Mercedes-AMG"}}, {26, {"CHL", "Ferrari"}},
    {27, {"TCX", "BMW"}},          {28, {"CUP", "Porsche"}},      {29, {"ST", "Lamborghini"}},
    {30, {"GT3", "BMW"}},          {31, {"GT3", "Audi"}},         {32, {"GT3", "Ferrari"}},
    {33, {"GT3", "Lamborghini"}},  {34, {"GT3", "Porsche"}},      {35, {"GT3", "McLaren"}},
    {36, {"GT3", "Ford"}},         {50, {"GT4", "Alpine"}},       {51, {"GT4", "Aston Martin"}},
    {52, {"GT4", "Audi"}},         {53, {"GT4", "BMW"}},          {55, {"GT4", "Chevrolet"}},
    {56, {"GT4", "Ginetta"}},      {57, {"GT4", "KTM"}},          {58, {"GT4", "Maserati"}},
    {59, {"GT4", "McLaren"}},      {60, {"GT4", "Mercedes-AMG"}}, {61, {"GT4", "Porsche"}},
    {80, {"GT2", "Audi"}},         {82, {"GT2", "KTM"}},          {83, {"GT2", "Maserati"}},
    {84, {"GT2", "Mercedes-AMG"}}, {85, {"GT2", "Porsche"}},      {86, {"GT2", "Porsche"}},
};
static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const Row& a, const Row& b) { return a.model < b.model; }));

} // namespace

AccCarClass accCarClass(int32_t carModel) {
    const Row* row = std::lower_bound(std::begin(kRows), std::end(kRows), carModel,
                                      [](const Row& r, int32_t model) { return r.model < model; });
    return row != std::end(kRows) && row->model == carModel ? row->what : AccCarClass{};
}

} // namespace vt
