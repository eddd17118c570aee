#include "overlay/settings/app_config.h"

#include <utility>

namespace vt {

namespace {

using BlockOf = const OverlayConfig* (*)(const AppConfig&);

template <auto Member>
const OverlayConfig* block(const AppConfig& config) {
    return &(config.*Member);
}

template <size_t Index>
const OverlayConfig* widget(const AppConfig& config) {
    return &config.widgets[Index];
}

const OverlayConfig* none(const AppConfig&) {
    return nullptr;
}

constexpr BlockOf kBlocks[kSlotCount] = {
    block<&AppConfig::session>,
    block<&AppConfig::relative>,
    block<&AppConfig::fuel>,
    block<&AppConfig::spotter>,
    block<&AppConfig::haptics>,
    block<&AppConfig::standings>,
    block<&AppConfig::battlebar>,
    block<&AppConfig::shiftlight>,
    block<&AppConfig::dash>,
    widget<0>,
    widget<1>,
    widget<2>,
    widget<3>,
    widget<4>,
    widget<5>,
    widget<6>,
    widget<7>,
    widget<8>,
    widget<9>,
    widget<10>,
    widget<11>,
    block<&AppConfig::pithelper>,
    block<&AppConfig::trackmap>,
    block<&AppConfig::deltatrace>,
    block<&AppConfig::performance>,
    block<&AppConfig::raceinfo>,
    block<&AppConfig::chat>,
    block<&AppConfig::featured>,
    block<&AppConfig::cover>,
    block<&AppConfig::recap>,
    block<&AppConfig::lmuEnergy>,
    block<&AppConfig::lmuStint>,
    block<&AppConfig::coach>,
    block<&AppConfig::alerts>,
    none,
    none,
    none,
    none,
    none,
    none,
    block<&AppConfig::trackstrip>,
    block<&AppConfig::training>,
    block<&AppConfig::drift>,
};

} // namespace

const OverlayConfig* overlayConfig(const AppConfig& config, int slot) {
    return slot >= 0 && slot < kSlotCount ? kBlocks[slot](config) : nullptr;
}

OverlayConfig* overlayConfig(AppConfig& config, int slot) {
    return const_cast<OverlayConfig*>(overlayConfig(std::as_const(config), slot));
}

} // namespace vt
