#include "ranks/FrameDealing.h"

#include <chrono>

#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

constexpr int questionTag = 1, answerTag = 2;

/// What is asked for: a frame, or that nobody asks any more.
constexpr uint64 nextFrame = 0, thatIsAll = 1;

bool hasThreads()
{
    int provided = MPI_THREAD_SINGLE;
    MPI_Query_thread(&provided);
    return provided == MPI_THREAD_MULTIPLE;
}

}  // namespace

MPI_Comm FrameDealing::split(uint32 ranksPerFrame) const
{
    MPI_Comm communicator = MPI_COMM_NULL;
    MPI_Comm_split(_world.communicator(), static_cast<int>(_world.rank() / ranksPerFrame),
                   static_cast<int>(_world.rank()), &communicator);
    return communicator;
}

FrameDealing::FrameDealing(MpiRanks& world, uint32 ranksPerFrame)
    : _world(world),
      _groupNumber(world.rank() / ranksPerFrame),
      _groupCount((world.size() + ranksPerFrame - 1) / ranksPerFrame),
      _group(split(ranksPerFrame)),
      _hasThreads(hasThreads() && _groupCount > 1)
{
    MPI_Comm_dup(world.communicator(), &_questions);
    if (_hasThreads && world.isFirst()) _answering = std::thread([this] { answer(); });
}

FrameDealing::~FrameDealing()
{
    if (_hasThreads)
    {
        MPI_Barrier(_world.communicator());
        if (_world.isFirst())
        {
            MPI_Send(&thatIsAll, 1, MPI_UINT64_T, 0, questionTag, _questions);
            _answering.join();
        }
    }
    MPI_Comm_free(&_questions);
    MPI_Comm group = _group.communicator();
    MPI_Comm_free(&group);
}

/// Answers until all is told. Looks for questions from time to time: waiting for one would keep a processor
/// busy.
void FrameDealing::answer()
{
    for (uint64 taken = 0;;)
    {
        int isThere = 0;
        MPI_Status status;
        MPI_Iprobe(MPI_ANY_SOURCE, questionTag, _questions, &isThere, &status);
        if (!isThere)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            continue;
        }
        uint64 question = nextFrame;
        MPI_Recv(&question, 1, MPI_UINT64_T, status.MPI_SOURCE, questionTag, _questions, MPI_STATUS_IGNORE);
        if (question == thatIsAll) return;
        MPI_Send(&taken, 1, MPI_UINT64_T, status.MPI_SOURCE, answerTag, _questions);
        ++taken;
    }
}

uint64 FrameDealing::ask()
{
    if (!_hasThreads) return _groupNumber + _groupCount * _taken++;
    uint64 frame = 0;
    MPI_Send(&nextFrame, 1, MPI_UINT64_T, 0, questionTag, _questions);
    MPI_Recv(&frame, 1, MPI_UINT64_T, 0, answerTag, _questions, MPI_STATUS_IGNORE);
    return frame;
}

std::size_t FrameDealing::next()
{
    double isStopped = interrupted();
    _group.largest({&isStopped, 1});
    if (isStopped > 0) return ~std::size_t{0};
    uint64 frame = _group.isFirst() ? ask() : 0;
    MPI_Bcast(&frame, 1, MPI_UINT64_T, 0, _group.communicator());
    return frame;
}

void FrameDealing::stopIfInterrupted()
{
    _world.together([] { tool::stopIfInterrupted(); });
}

uint32 FrameDealing::total(uint32 count)
{
    auto sum = static_cast<int64>(tells() ? count : 0);
    _world.sum({&sum, 1});
    return static_cast<uint32>(sum);
}

std::vector<std::string> FrameDealing::ofFirst(const std::function<std::vector<std::string>()>& list)
{
    std::vector<std::string> own;
    _world.together(
        [&]
        {
            if (isFirst()) own = list();
        });
    std::string text;
    for (const std::string& item : own) text += item + "\n";
    text = _world.broadcast(text);
    std::vector<std::string> items;
    for (std::size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        items.push_back(text.substr(begin, end - begin));
    return items;
}

}  // namespace tavrix::tool
