#include "app/Tarvex.h"

namespace tarvex {

Tarvex::Tarvex(Platform platform, QString config_folder, QObject* parent)
    : QObject(parent)
    , m_platform(std::move(platform))
    , m_config_folder(std::move(config_folder))
    , m_server(new HostSession(m_platform.dialogs, this))
    , m_client(new ClientSession(m_platform.dialogs, this)) {}

Tarvex::~Tarvex() = default;

} // namespace tarvex
