#include "BlockPairing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Talmo;

namespace
{

/// A block as a plain model has it.
struct Block {
    qint64 heading = 0;
    qint64 lines = 0;
};

/// Blocks, many of them without lines, at distances that often are the same.
std::vector<Block> anyBlocks(std::mt19937 &random)
{
    const auto any = [&random](unsigned count) { return static_cast<qint64>(random() % count); };
    std::vector<Block> blocks(static_cast<size_t>(any(8)) + 1);
    const qint64 most = any(3) + 1;
    qint64 line = any(3) + 1;
    for (Block &block : blocks) {
        block = {line, any(2) == 0 ? 0 : any(static_cast<unsigned>(most))};
        line += block.lines + 2 + (any(3) == 0 ? any(3) : 0);
    }
    return blocks;
}

/// Tells a BlockPairing of the blocks of a file, one mark with each call.
class Teller
{
public:
    Teller(const std::vector<Block> &allBlocks, int number)
        : blocks(allBlocks)
        , file(number)
    {
    }

    bool hasMore() const { return next <= blocks.size(); }

    void tell(BlockPairing &pairing)
    {
        if (next == blocks.size()) {
            pairing.end(file, lines);
        } else {
            pairing.begin(file, blocks[next].heading, lines);
            lines += blocks[next].lines;
        }
        ++next;
    }

private:
    const std::vector<Block> &blocks;
    int file;
    size_t next = 0;
    qint64 lines = 0;
};

/// The first block of one of the files that the other does not have, counted from 0; the number of
/// blocks if the files have the same.
size_t plainParting(const std::vector<Block> &blocks1, const std::vector<Block> &blocks2)
{
    const auto [part1, part2] =
        std::mismatch(blocks1.begin(), blocks1.end(), blocks2.begin(), blocks2.end(),
            [](const Block &one, const Block &other) { return one.lines == other.lines; });
    return static_cast<size_t>(part1 - blocks1.begin());
}

void expectPlainParting(const BlockPairing &pairing, const std::vector<Block> &blocks1,
    const std::vector<Block> &blocks2)
{
    const size_t index = plainParting(blocks1, blocks2);
    const bool isIn1 = index < blocks1.size();
    const bool isIn2 = index < blocks2.size();
    ASSERT_EQ(pairing.parting().has_value(), isIn1 || isIn2);
    if (!pairing.parting())
        return;
    const BlockParting &parting = *pairing.parting();
    EXPECT_EQ(parting.number, static_cast<qint64>(index + 1));
    EXPECT_EQ(parting.headings.line1, isIn1 ? blocks1[index].heading : 0);
    EXPECT_EQ(parting.headings.line2, isIn2 ? blocks2[index].heading : 0);
    EXPECT_EQ(parting.lines1, isIn1 && isIn2 ? blocks1[index].lines : -1);
    EXPECT_EQ(parting.lines2, isIn1 && isIn2 ? blocks2[index].lines : -1);
    qint64 paired = 0;
    for (size_t before = 0; before < index; ++before)
        paired += blocks1[before].lines;
    if (isIn1 && isIn2)
        paired += std::min(blocks1[index].lines, blocks2[index].lines);
    EXPECT_EQ(parting.linesPaired, paired);
}

} // namespace

TEST(BlockPairing, FindsWhatAPlainModelFindsWhicheverFileIsAhead)
{
    int partings = 0;
    int agreements = 0;
    for (unsigned seed = 0; seed < 20000; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::vector<Block> blocks1 = anyBlocks(random);
        std::vector<Block> blocks2 = anyBlocks(random);
        if (random() % 2 == 0) { // as often as not the same sizes, or nearly
            blocks2 = blocks1;
            for (Block &block : blocks2)
                block.heading += 7;
            blocks2[random() % blocks2.size()].lines += static_cast<qint64>(random() % 2);
        }
        BlockPairing pairing;
        Teller teller1(blocks1, 1);
        Teller teller2(blocks2, 2);
        const auto lead = random() % 5;
        while (teller1.hasMore() || teller2.hasMore()) {
            const bool isTurn1 = teller1.hasMore() && (random() % 4 < lead || !teller2.hasMore());
            (isTurn1 ? teller1 : teller2).tell(pairing);
        }
        expectPlainParting(pairing, blocks1, blocks2);
        ++(pairing.parting() ? partings : agreements);
        if (HasFatalFailure() || HasNonfatalFailure())
            return;
    }
    EXPECT_GT(partings, 1000);
    EXPECT_GT(agreements, 1000);
}
