#include "net/InputGuard.h"

#include "net/Messages.h"

#include <algorithm>

namespace tarvex {

namespace {

struct Rate {
    double per_second;
    double burst;
};

Rate RateOf(InputGuard::Kind kind, int data_interval_ms) {
    switch (kind) {
    case InputGuard::Kind::Chat:
        return {10, 30};
    case InputGuard::Kind::CarState: {
        // Twice what the host's data interval asks for, and never less than a 50 ms interval
        // would need with room to spare; a second's worth may arrive at once after a stall.
        const double per_second = std::max(50.0, 2000.0 / std::max(data_interval_ms, 1));
        return {per_second, per_second};
    }
    case InputGuard::Kind::Other:
        break;
    }
    // Statuses, car choices (a list scrolled with a held key sends one per step), times,
    // false starts, votes and clock requests.
    return {40, 80};
}

} // namespace

InputGuard::Kind InputGuard::KindOf(std::uint8_t type) {
    switch (MessageType(type)) {
    case MessageType::Chat:
        return Kind::Chat;
    case MessageType::CarState:
        return Kind::CarState;
    default:
        return Kind::Other;
    }
}

void InputGuard::Reset(int slot) {
    m_clients[std::size_t(slot)] = Client{};
}

bool InputGuard::Admit(int slot, Kind kind, std::int64_t now_ms, int data_interval_ms) {
    Client& client = m_clients[std::size_t(slot)];
    Budget& budget = client.budgets[std::size_t(kind)];
    const Rate rate = RateOf(kind, data_interval_ms);
    if (budget.refilled_at_ms < 0) {
        budget.tokens = rate.burst;
    } else {
        const double elapsed_s =
            double(std::max<std::int64_t>(now_ms - budget.refilled_at_ms, 0)) / 1000.0;
        budget.tokens = std::min(rate.burst, budget.tokens + elapsed_s * rate.per_second);
    }
    budget.refilled_at_ms = now_ms;
    if (budget.tokens >= 1) {
        budget.tokens -= 1;
        return true;
    }
    ++client.over_budget;
    return false;
}

void InputGuard::CountBroken(int slot) {
    ++m_clients[std::size_t(slot)].broken;
}

std::vector<InputGuard::Report> InputGuard::CloseSecond() {
    std::vector<Report> reports;
    for (int slot = 0; slot < int(m_clients.size()); ++slot) {
        Client& client = m_clients[std::size_t(slot)];
        if (client.over_budget == 0 && client.broken == 0) {
            client.strikes = 0;
            continue;
        }
        ++client.strikes;
        reports.push_back({slot, client.over_budget, client.broken,
                           client.strikes >= StrikeSeconds && !client.removed});
        client.over_budget = 0;
        client.broken = 0;
    }
    return reports;
}

bool InputGuard::Watching() const {
    return std::any_of(m_clients.begin(), m_clients.end(), [](const Client& client) {
        return client.strikes > 0 || client.over_budget > 0 || client.broken > 0;
    });
}

} // namespace tarvex
