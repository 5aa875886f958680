#include "studio/sources/source_return.h"

#include "base/error.h"
#include "base/log.h"
#include "base/secret_texts.h"

#include <algorithm>
#include <array>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t searchSpacingUs = 250'000;
constexpr std::array<std::int64_t, 5> delaysUs { 1'000'000,
    2'000'000,
    4'000'000,
    8'000'000,
    10'000'000 };
constexpr std::int64_t cameraDelayUs = 3'000'000; ///< at most; what hangs takes 10 s more

bool isOpenedAgain(const Layer &layer)
{
    return layer.kind == LayerKind::Screen
        || (layer.kind == LayerKind::Video && !layer.uri.isEmpty()
            && !layer.uri.startsWith(QLatin1String("file:")));
}

bool hasStopped(const MediaPtr &source)
{
    return !source || (!source->active() && !source->isOver());
}

void exchangeIn(LiveScene &live, const Layer &layer, const MediaPtr &from, const MediaPtr &to)
{
    for (std::size_t place = 0; place < live.layers.size(); ++place) {
        const Layer &each = live.scene->layers[place];
        if (each.source == layer.source && each.uri == layer.uri
            && live.layers[place].source == from) {
            live.layers[place].source = to;
        }
    }
}

} // namespace

SourceReturn::SourceReturn(const Clock &clock, MayOpen mayOpen, Report status)
    : m_clock(clock)
    , m_mayOpen(std::move(mayOpen))
    , m_status(std::move(status))
{
}

void SourceReturn::poll(const SceneSets &scenes, SourcePool &pool, OnAir &onAir)
{
    if (m_clock.monotonicUs() - m_searchedUs >= searchSpacingUs) {
        m_searchedUs = m_clock.monotonicUs();
        search(scenes, pool, onAir);
    }
    for (Lost &lost : m_lost) {
        advance(lost, pool, onAir);
    }
}

Media *SourceReturn::coming(const Layer &layer) const
{
    const auto found = std::find_if(m_lost.begin(), m_lost.end(), [&](const Lost &lost) {
        return lost.next && lost.layer.source == layer.source && lost.layer.uri == layer.uri;
    });
    return found == m_lost.end() ? nullptr : found->next.get();
}

void SourceReturn::search(const SceneSets &scenes, SourcePool &pool, OnAir &onAir)
{
    for (Lost &lost : m_lost) {
        lost.isNamed = false;
    }
    for (const LiveScene *program : { &onAir.streams, &onAir.hall }) {
        for (std::size_t place = 0; place < program->layers.size(); ++place) {
            note(program->scene->layers[place], program->layers[place].source);
        }
    }
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                note(layer, isOpenedAgain(layer) ? pool.find(layer) : nullptr);
            }
        }
    }
    for (Lost &lost : m_lost) {
        if (lost.source && lost.backSinceUs == 0) {
            put(lost, nullptr, pool, onAir);
        }
    }
    const std::int64_t now = m_clock.monotonicUs();
    std::erase_if(m_lost, [now](const Lost &lost) {
        return !lost.isNamed || (lost.backSinceUs != 0 && now - lost.backSinceUs >= steadyUs);
    });
}

void SourceReturn::note(const Layer &layer, const MediaPtr &source)
{
    if (!isOpenedAgain(layer)) {
        return;
    }
    const auto known = std::find_if(m_lost.begin(), m_lost.end(), [&](const Lost &lost) {
        return lost.layer.source == layer.source && lost.layer.uri == layer.uri
            && lost.source == source;
    });
    if (known != m_lost.end()) {
        known->isNamed = true;
    } else if (hasStopped(source)) {
        m_lost.push_back({ layer, source });
        wait(m_lost.back());
    }
}

void SourceReturn::put(Lost &lost, MediaPtr source, SourcePool &pool, OnAir &onAir)
{
    if (pool.find(lost.layer) == lost.source) {
        pool.replace(lost.layer, source);
    }
    exchangeIn(onAir.streams, lost.layer, lost.source, source);
    exchangeIn(onAir.hall, lost.layer, lost.source, source);
    lost.source = std::move(source);
}

void SourceReturn::advance(Lost &lost, SourcePool &pool, OnAir &onAir)
{
    if (lost.backSinceUs != 0) {
        watch(lost, pool, onAir);
    } else if (lost.next) {
        follow(lost, pool, onAir);
    } else if (m_clock.monotonicUs() >= lost.nextUs && m_mayOpen(lost.layer)) {
        open(lost, pool);
    }
}

void SourceReturn::watch(Lost &lost, SourcePool &pool, OnAir &onAir)
{
    if (hasStopped(lost.source)) {
        put(lost, nullptr, pool, onAir);
        lost.backSinceUs = 0;
        wait(lost);
    }
}

void SourceReturn::open(Lost &lost, const SourcePool &pool)
{
    try {
        lost.next = pool.open(lost.layer);
        if (!lost.next) { // the desktop has not granted it
            wait(lost);
        }
    } catch (const Error &error) {
        tellRefusal(lost, error.message());
        wait(lost);
    }
}

void SourceReturn::follow(Lost &lost, SourcePool &pool, OnAir &onAir)
{
    lost.next->pollSource();
    if (lost.next->frameCount() > 0) {
        put(lost, std::exchange(lost.next, nullptr), pool, onAir);
        lost.backSinceUs = m_clock.monotonicUs();
        m_status(Message("Fuente recuperada: %1",
            { Message::verbatim(withoutSecrets(lost.layer.name)) }));
    } else if (!lost.next->active()) {
        Q_EMIT refused(*lost.next);
        logLine(
            QStringLiteral("Fuente: no se pudo reabrir: ") + lost.next->takeMessage().spanish());
        lost.next.reset();
        wait(lost);
    }
}

/// Once for each reason: it may go on for hours.
void SourceReturn::tellRefusal(Lost &lost, const Message &reason)
{
    if (!(std::exchange(lost.refusal, reason) == reason)) {
        logLine(QStringLiteral("Fuente: no se pudo reabrir: ") + reason.spanish());
    }
}

void SourceReturn::wait(Lost &lost)
{
    const auto step
        = std::min<std::size_t>(static_cast<std::size_t>(lost.attempts++), delaysUs.size() - 1);
    const std::int64_t delay = delaysUs.at(step);
    lost.nextUs = m_clock.monotonicUs()
        + (isLiveCamera(lost.layer.uri) ? std::min(delay, cameraDelayUs) : delay);
}

} // namespace nimbara
