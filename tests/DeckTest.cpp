#include "Deck.h"
#include "Text.h"
#include "TrackerFiles.h"

#include <gtest/gtest.h>

using namespace tracker;

using DeckFiles = TrackerFiles;

TEST(Text, WordsAreSeparatedByBlanksOfAnyKind)
{
    using Words = std::vector<std::string>;
    EXPECT_EQ(splitWords("\t quad  4 \t300\r"), (Words{"quad", "4", "300"}));
    EXPECT_EQ(splitWords("\vdrift\f1\v\f2"), (Words{"drift", "1", "2"}));
    EXPECT_EQ(splitWords("drift"), (Words{"drift"}));
    EXPECT_EQ(splitWords(" \t\r"), Words());
    EXPECT_EQ(splitWords(""), Words());
}

TEST(Deck, DeckLinesBecomeSteps)
{
    struct Row {
        std::vector<std::string> words;
        Action action;
        double field;
        double length;
        std::string file;
    };
    const Row rows[] = {
        {{"beam", "b.dat"}, Action::ReadBeam, 0, 0, "b.dat"},
        {{"drift", "1.5e2"}, Action::Drift, 0, 150, ""},
        {{"drift", "0"}, Action::Drift, 0, 0, ""},
        {{"quad", "-4", "300"}, Action::Quad, -4, 300, ""},
        {{"solenoid", ".5", "+10"}, Action::Solenoid, 0.5, 10, ""},
        {{"reverse"}, Action::Reverse, 0, 0, ""},
        {{"output", "o.dat"}, Action::WriteBeam, 0, 0, "o.dat"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.words.front());
        Step step;
        std::string what;
        ASSERT_TRUE(parseStep(row.words, step, what)) << what;
        EXPECT_EQ(step.action, row.action);
        EXPECT_EQ(step.field, row.field);
        EXPECT_EQ(step.length, row.length);
        EXPECT_EQ(step.file, row.file);
        EXPECT_EQ(commandWord(step.action), row.words.front());
    }
}

TEST_F(DeckFiles, WrongDecksAreToldByFileLineAndWord)
{
    struct Row {
        std::string deck;
        std::string message;
    };
    const Row rows[] = {
        {"beam b\nsextupole 1 2\noutput o\n", "deck:2: unknown element 'sextupole'"},
        {"beam b\n\n# note\nQuad 1 2\noutput o\n", "deck:4: unknown element 'Quad'"},
        {"beam\n", "deck:1: expected 'beam FILE', found 'beam'"},
        {"beam a b\n", "deck:1: expected 'beam FILE', found 'beam a b'"},
        {"beam b\ndrift\n", "deck:2: expected 'drift LENGTH', found 'drift'"},
        {"beam b\nquad 1\t2 3\n", "deck:2: expected 'quad GRADIENT LENGTH', found 'quad 1 2 3'"},
        {"beam b\nsolenoid 1\n", "deck:2: expected 'solenoid FIELD LENGTH', found 'solenoid 1'"},
        {"beam b\nreverse 1\n", "deck:2: expected 'reverse', found 'reverse 1'"},
        {"beam b\noutput\n", "deck:2: expected 'output FILE', found 'output'"},
        {"beam b\ndrift 1mm\n", "deck:2: '1mm' is not a number"},
        {"beam b\nquad 1,5 10\n", "deck:2: '1,5' is not a number"},
        {"beam b\nquad nan 10\n", "deck:2: 'nan' is not a number"},
        {"beam b\nquad 1 1e999\n", "deck:2: '1e999' is not a number"},
        {"beam b\ndrift -1e-9\n", "deck:2: negative length '-1e-9'"},
        {"output o\n", "deck:1: the first command must be 'beam FILE', found 'output'"},
        {"\nreverse\n", "deck:2: the first command must be 'beam FILE', found 'reverse'"},
        {"beam b\nbeam b\n", "deck:2: 'beam' may only be the first command"},
        {"beam b\n", "deck:1: the last command must be 'output FILE', found 'beam'"},
        {"beam b\noutput o\nreverse\n\n",
            "deck:3: the last command must be 'output FILE', found 'reverse'"},
        {"", "deck: the deck has no commands"},
        {"# nothing\n \n", "deck: the deck has no commands"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.deck);
        write("deck", row.deck);
        Deck deck;
        std::string error;
        EXPECT_FALSE(readDeck("deck", deck, error));
        EXPECT_EQ(error, row.message);
    }
}

TEST_F(DeckFiles, DecksThatCannotBeReadAreTold)
{
    std::filesystem::create_directory("folder");
    for (const std::string name : {"folder", "missing"}) {
        Deck deck;
        std::string error;
        EXPECT_FALSE(readDeck(name, deck, error));
        EXPECT_EQ(error, name + ": cannot read the file");
    }
}
