#include "app/Tarvex.h"

namespace tarvex {

Tarvex::Tarvex(Platform platform, QString config_folder, QObject* parent)
    : QObject(parent)
    , m_platform(std::move(platform))
    , m_config_folder(std::move(config_folder)) {}

Tarvex::~Tarvex() = default;

} // namespace tarvex
