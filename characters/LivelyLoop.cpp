#include "characters/LivelyLoop.h"

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype calmHold = 4; // steps for which a calm frame is shown: about half a second
constexpr qsizetype walkHold = 2; // the same while its legs move

/// How the drawing stands in its canvas at one step; all but `isMirrored` in letters.
struct Pose {
    int right = 0;
    int up = 0;
    int squash = 0; // rows less, the feet where they are
    int lean = 0; // of the top to the right; the feet stay
    bool isMirrored = false;
};
using Poses = std::vector<Pose>;

/// The clear letters between the drawing and the canvas's edges, the same for all frames.
struct Margins {
    int left;
    int top;
    int right;
    int bottom;
};

bool isClear(QChar letter)
{
    return letter == u'.';
}

Margins marginsOf(const QList<PixelFrame>& frames)
{
    const int side = int(frames.first().size());
    Margins free{side, side, side, side};
    for (const PixelFrame& frame : frames) {
        for (int row = 0; row < side; ++row) {
            for (int column = 0; column < side; ++column) {
                if (isClear(frame[row][column]))
                    continue;
                free = {std::min(free.left, column), std::min(free.top, row),
                        std::min(free.right, side - 1 - column),
                        std::min(free.bottom, side - 1 - row)};
            }
        }
    }
    return free;
}

// --- Changes of one frame ---

PixelFrame mirrored(PixelFrame frame)
{
    for (QString& row : frame)
        std::reverse(row.begin(), row.end());
    return frame;
}

QString shiftedRow(const QString& row, int right)
{
    const qsizetype count = std::min(qsizetype(std::abs(right)), row.size());
    const QString gap(count, u'.');
    return right >= 0 ? gap + row.chopped(count) : row.sliced(count) + gap;
}

PixelFrame raised(const PixelFrame& frame, int up)
{
    const qsizetype count = std::min(qsizetype(std::abs(up)), frame.size());
    const PixelFrame gap(count, QString(frame.size(), u'.'));
    return up >= 0 ? frame.sliced(count) + gap : gap + frame.first(frame.size() - count);
}

PixelFrame leaning(PixelFrame frame, int lean)
{
    const int side = int(frame.size());
    for (int row = 0; row < side; ++row) {
        const int fromFeet = side - 1 - row;
        const int rounding = lean < 0 ? -side / 2 : side / 2;
        frame[row] = shiftedRow(frame[row], (lean * fromFeet + rounding) / side);
    }
    return frame;
}

int difference(const QString& one, const QString& other)
{
    int count = 0;
    for (qsizetype i = 0; i < one.size(); ++i)
        count += one[i] != other[i];
    return count;
}

/// The row of the body, above the feet, that differs least from the next one: the one that is
/// missed least.
int leastMissedRow(const PixelFrame& frame)
{
    const int first = int(frame.size()) * 7 / 12;
    const int last = int(frame.size()) - 3;
    int best = first;
    for (int row = first; row <= last; ++row) {
        if (difference(frame[row], frame[row + 1]) < difference(frame[best], frame[best + 1]))
            best = row;
    }
    return best;
}

PixelFrame squashed(PixelFrame frame, int rows)
{
    for (int i = 0; i < rows; ++i) {
        frame.removeAt(leastMissedRow(frame));
        frame.prepend(QString(frame.first().size(), u'.'));
    }
    return frame;
}

PixelFrame posed(const PixelFrame& frame, const Pose& pose)
{
    PixelFrame result = squashed(pose.isMirrored ? mirrored(frame) : frame, pose.squash);
    result = raised(leaning(result, pose.lean), pose.up);
    for (QString& row : result)
        row = shiftedRow(row, pose.right);
    return result;
}

int clearLetters(const PixelFrame& frame)
{
    int count = 0;
    for (const QString& row : frame)
        count += int(row.count(u'.'));
    return count;
}

// --- The motions, step by step ---

Poses hop(const Margins& free)
{
    // In the air it draws its legs in; so even a drawing as high as the canvas leaves the ground.
    const Pose low{.squash = 2};
    const Pose rising{.up = std::min(1 + free.top, 2), .squash = 1};
    const Pose high{.up = std::min(2 + free.top, 4), .squash = 2};
    Poses poses(14);
    poses.insert(poses.end(), {low, low, rising, high, high, rising, low, {.squash = 1}});
    return poses;
}

Poses floating(const Margins& free)
{
    // A drawing that fills its canvas has nowhere to go, so it rises and sinks within itself.
    const bool hasRoom = free.top + free.bottom >= 2;
    Poses poses;
    for (const int up : {0, 0, 1, 1, 1, 2, 2, 2, 2, 1, 1, 1, 0, 0, -1, -1, -1, -1}) {
        if (hasRoom)
            poses.push_back({.up = std::clamp(up, -free.bottom, free.top)});
        else
            poses.push_back({.squash = std::clamp(1 - up, 0, 2)});
    }
    return poses;
}

/// How far the drawings can lean without losing a letter, at most `most`.
int roomToLean(const QList<PixelFrame>& frames, int most)
{
    const auto fits = [](const PixelFrame& frame, int lean) {
        return clearLetters(leaning(frame, lean)) == clearLetters(frame);
    };
    for (int lean = most; lean > 0; --lean) {
        if (std::ranges::all_of(frames,
                                [&](const auto& f) { return fits(f, lean) && fits(f, -lean); }))
            return lean;
    }
    return 0;
}

Poses sway(const QList<PixelFrame>& frames)
{
    const int most = roomToLean(frames, 3);
    Poses poses;
    for (const int lean : {0, 1, 1, 2, 3, 3, 3, 2, 1, 1, 0, -1, -1, -2, -3, -3, -3, -2, -1, -1})
        poses.push_back({.lean = std::clamp(lean, -most, most)});
    return poses;
}

/// Out to one side and back, as far as there is room; `step` makes each place's pose.
template<typename MakePose>
Poses outAndBack(const Margins& free, bool startsLeft, MakePose makePose)
{
    constexpr int farthest = 4;
    const int left = -std::min(free.left, farthest);
    const int right = std::min(free.right, farthest);
    const int from = startsLeft ? right : left;
    const int to = startsLeft ? left : right;
    const int step = startsLeft ? -1 : 1;
    constexpr int stepsPerPlace = 2;
    constexpr int pause = 6;
    Poses poses;
    const auto add = [&](int place, bool isReturning, int times) {
        for (int i = 0; i < times; ++i)
            poses.push_back(makePose(place, isReturning, poses.size()));
    };
    for (int place = from; place != to; place += step)
        add(place, false, stepsPerPlace);
    add(to, false, pause);
    for (int place = to; place != from; place -= step)
        add(place, true, stepsPerPlace);
    add(from, true, pause);
    return poses;
}

/// Whether a drawing that looks to `faces` is to be mirrored when it goes to the left or right.
bool looksWrongWay(const QString& faces, bool goesLeft)
{
    return faces == (goesLeft ? "right"_L1 : "left"_L1);
}

Poses walk(const Margins& free, bool startsLeft, const QString& faces)
{
    return outAndBack(free, startsLeft, [&](int place, bool isReturning, size_t step) {
        const bool isMirrored = looksWrongWay(faces, startsLeft != isReturning);
        return Pose{.right = place, .squash = step % 4 < 2 ? 0 : 1, .isMirrored = isMirrored};
    });
}

Poses drift(const Margins& free, bool startsLeft, const QString& faces)
{
    return outAndBack(free, startsLeft, [&](int place, bool isReturning, size_t step) {
        const int up = std::clamp(step % 12 < 6 ? 1 : 0, -free.bottom, free.top);
        return Pose{.right = place,
                    .up = up,
                    .isMirrored = looksWrongWay(faces, startsLeft != isReturning)};
    });
}

/// Climbs out at the top, as on a thread, and lets itself down again.
Poses drop()
{
    Poses poses(16);
    for (const int up : {1, 2, 2, 3, 4, 5, 6, 7, 8, 9, 10, 10, 10, 10, 8, 5, 2, 0, -1, 0, 1, 0})
        poses.push_back({.up = up});
    return poses;
}

/// Shakes, leaves at the top, and comes down again.
Poses launch(const Margins& free, int side)
{
    const int shake = std::min({free.left, free.right, 1});
    Poses poses(14);
    for (const int right : {shake, 0, -shake, 0, shake, 0, -shake, 0})
        poses.push_back({.right = right});
    for (const int up : {1, 2, 4, 7, 11, 16, side, side, 18, 14, 10, 7, 5, 3, 2, 1, 1})
        poses.push_back({.up = up});
    return poses;
}

Poses posesOf(const QString& motion, const QString& faces, const QList<PixelFrame>& frames)
{
    Margins free = marginsOf(frames);
    if (motion == "hop"_L1)
        return hop(free);
    if (motion == "float"_L1)
        return floating(free);
    if (motion == "sway"_L1)
        return sway(frames);
    if (motion == "drop"_L1)
        return drop();
    if (motion == "launch"_L1)
        return launch(free, int(frames.first().size()));
    // A mirrored drawing has its margins on the other side.
    if (faces != "front"_L1)
        free.left = free.right = std::min(free.left, free.right);
    if (motion == "walkLeft"_L1 || motion == "walkRight"_L1)
        return walk(free, motion == "walkLeft"_L1, faces);
    if (motion == "driftLeft"_L1 || motion == "driftRight"_L1)
        return drift(free, motion == "driftLeft"_L1, faces);
    return {};
}

} // namespace

QList<PixelFrame> livelyLoop(const QList<PixelFrame>& frames, const QString& motion,
                             const QString& faces)
{
    const Poses poses = posesOf(motion, faces, frames);
    if (poses.empty())
        return {};
    const qsizetype hold = motion.startsWith("walk"_L1) ? walkHold : calmHold;
    // So many rounds of the motion that every calm frame has its turn, the blink among them.
    const qsizetype round = qsizetype(poses.size());
    const qsizetype steps = round * ((frames.size() * hold + round - 1) / round);
    QList<PixelFrame> loop;
    for (qsizetype step = 0; step < steps; ++step)
        loop.append(posed(frames[step / hold % frames.size()], poses[size_t(step % round)]));
    return loop;
}
