#include "studio/edit/recovery_copy.h"

#include <utility>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t delayUs = 2'000'000; ///< of a write, and before another attempt
constexpr std::int64_t patienceUs = 10'000'000; ///< with a disk that does not answer
constexpr auto cannotKeep = "No se pudo guardar la copia de recuperación. Guarda el proyecto.";
constexpr auto farewell = 3s;
constexpr auto glance = 20ms;

} // namespace

RecoveryCopy::RecoveryCopy(const QString &folder, const Clock &clock)
    : m_clock(clock)
    , m_place(std::make_shared<RecoveryPlace>(folder))
{
}

RecoveryCopy::~RecoveryCopy()
{
    m_writeUs = m_removeUs = m_clock.monotonicUs();
    const auto deadline = std::chrono::steady_clock::now() + farewell;
    while (!isSettled() && std::chrono::steady_clock::now() < deadline) {
        m_told = false;
        if (poll()) {
            break;
        }
        static_cast<void>(m_task.isReady(glance));
    }
    if (!m_task.isUnderWay()) {
        m_place->leave(); // the task's thread may let go of its share a little later
    }
}

void RecoveryCopy::changed(JsonMaker json, const QString &projectPath)
{
    if (!m_next) {
        m_writeUs = m_clock.monotonicUs() + delayUs;
    }
    m_next = State { std::move(json), projectPath, m_clock.wallMs() };
}

void RecoveryCopy::clean()
{
    m_next.reset();
    if (m_writing) {
        m_calledOff->store(true);
        m_writing.reset();
        m_replaced = 0;
    }
    m_removal = m_leftTrace || !m_adopted.empty();
    m_removeUs = m_clock.monotonicUs();
}

void RecoveryCopy::adopt(RecoverableWork work)
{
    m_adopted.push_back(std::move(work));
}

void RecoveryCopy::beginWriting()
{
    m_writing = std::exchange(m_next, std::nullopt);
    m_leftTrace = true;
    m_replaced = m_adopted.size();
    m_calledOff = std::make_shared<std::atomic<bool>>(false);
    m_task.start(
        [place = m_place, state = *m_writing, adopted = m_adopted, calledOff = m_calledOff] {
            place->write({ state.json(), state.projectPath, state.timeMs }, *calledOff);
            for (const RecoverableWork &work : adopted) {
                if (!*calledOff) {
                    discardRecoverable(work);
                }
            }
        });
}

void RecoveryCopy::beginRemoving()
{
    m_removal = false;
    m_removing = true;
    m_replaced = m_adopted.size();
    m_task.start([place = m_place, adopted = m_adopted] {
        place->remove();
        for (const RecoverableWork &work : adopted) {
            discardRecoverable(work);
        }
    });
}

void RecoveryCopy::succeeded()
{
    if (std::exchange(m_removing, false)) {
        m_leftTrace = false;
    } else if (std::exchange(m_writing, std::nullopt)) {
        m_removal = false; // of an older copy, which is replaced
    } else {
        return; // a write that was called off
    }
    m_adopted.erase(m_adopted.begin(), m_adopted.begin() + static_cast<std::ptrdiff_t>(m_replaced));
    m_told = false;
}

std::optional<Message> RecoveryCopy::failed()
{
    const std::int64_t again = m_clock.monotonicUs() + delayUs;
    if (std::exchange(m_removing, false)) {
        m_removal = true;
        m_removeUs = again;
        return tellOnce("No se pudo borrar la copia de recuperación.");
    }
    if (!m_writing) {
        return std::nullopt; // it was called off
    }
    if (!m_next) {
        m_next = std::exchange(m_writing, std::nullopt);
        m_writeUs = again;
    }
    m_writing.reset();
    return tellOnce(cannotKeep);
}

std::optional<Message> RecoveryCopy::tellOnce(const char *text)
{
    return std::exchange(m_told, true) ? std::nullopt : std::optional(Message(text));
}

std::optional<Message> RecoveryCopy::poll()
{
    const std::int64_t now = m_clock.monotonicUs();
    try {
        if (m_task.isReady()) {
            m_task.take();
            succeeded();
        }
        if (m_task.isUnderWay()) {
            return now - m_begunUs > patienceUs ? tellOnce(cannotKeep) : std::nullopt;
        }
        m_begunUs = now;
        if (m_removal && now >= m_removeUs) {
            beginRemoving();
        } else if (m_next && now >= m_writeUs) {
            beginWriting();
        }
    } catch (const std::exception &) {
        return failed();
    }
    return std::nullopt;
}

} // namespace nimbara
