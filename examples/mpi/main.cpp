// usage: mpirun -n N tracker-mpi DECK
// The tracker, for several processes. Each process reads the deck and the whole beam, and takes its
// part of the tracks through the steps; process 0 collects the parts where the deck wants an
// output, and writes it. No track needs another one, so the result is the tracker's, to the last
// digit, for any number of processes. After each step all processes agree whether to go on, and if
// not, the one with the first bad track says why: it is the track that the tracker would name.

#include "Tracker.h"
#include "talmo/StartupGuard.h"

#include <mpi.h>

#include <cstdio>

using namespace tracker;

namespace
{

/// This process among all that work together.
struct Rank {
    int number = 0; ///< from 0
    int count = 1;  ///< how many there are
};

Rank thisRank()
{
    Rank rank;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank.number);
    MPI_Comm_size(MPI_COMM_WORLD, &rank.count);
    return rank;
}

/// The first one of the \a size tracks that belongs to the process \a number.
std::size_t beginOf(int number, const Rank &rank, std::size_t size)
{
    return size * static_cast<std::size_t>(number) / static_cast<std::size_t>(rank.count);
}

/// True if \a isWell in every process. Otherwise the first one in which it is not prints \a error.
bool isWellEverywhere(bool isWell, const Rank &rank, const std::string &error)
{
    const int mine = isWell ? rank.count : rank.number;
    int first = 0;
    MPI_Allreduce(&mine, &first, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    if (first == rank.number)
        std::fprintf(stderr, "tracker: %s\n", error.c_str());
    return first == rank.count;
}

/// All \a size tracks in process 0, which gets \a part from each process; none in the others.
Beam collected(const Beam &part, const Rank &rank, std::size_t size)
{
    Beam beam(rank.number == 0 ? size : 0);
    std::vector<int> counts;
    std::vector<int> places;
    for (int number = 0; number < rank.count; ++number) {
        const std::size_t begin = beginOf(number, rank, size);
        places.push_back(static_cast<int>(begin));
        counts.push_back(static_cast<int>(beginOf(number + 1, rank, size) - begin));
    }
    MPI_Datatype track = MPI_DATATYPE_NULL;
    MPI_Type_contiguous(static_cast<int>(sizeof(Track)), MPI_BYTE, &track);
    MPI_Type_commit(&track);
    MPI_Gatherv(part.data(), static_cast<int>(part.size()), track, beam.data(), counts.data(),
        places.data(), track, 0, MPI_COMM_WORLD);
    MPI_Type_free(&track);
    return beam;
}

/// Takes \a part, which begins with the track \a begin, through \a step. If that fails, \a error
/// names the track.
bool takePart(const Step &step, const Deck &deck, std::size_t begin, Beam &part, std::string &error)
{
    for (std::size_t i = 0; i < part.size(); ++i) {
        if (!takeTrack(step, transported, part[i])) {
            error = messageAboutTrack(step, deck, begin + i + 1);
            return false;
        }
    }
    return true;
}

/// Does what runDeck does, together with the other processes. Returns false in all of them if it
/// fails in one; the reason was printed.
bool runDeckTogether(const std::string &file, const Rank &rank)
{
    Deck deck;
    Beam beam;
    std::string error;
    const bool isRead = readInput(file, deck, beam, error);
    if (!isWellEverywhere(isRead, rank, error))
        return false;
    const std::size_t size = beam.size();
    const std::size_t begin = beginOf(rank.number, rank, size);
    const auto place = [&beam](std::size_t index) {
        return beam.begin() + static_cast<std::ptrdiff_t>(index);
    };
    Beam part(place(begin), place(beginOf(rank.number + 1, rank, size)));
    for (std::size_t i = 1; i < deck.steps.size(); ++i) {
        const Step &step = deck.steps[i];
        bool isWell = true;
        if (step.action == Action::WriteBeam) {
            const Beam all = collected(part, rank, size);
            isWell = rank.number != 0 || writeOutput(step, deck, all, error);
        } else {
            isWell = takePart(step, deck, begin, part, error);
        }
        if (!isWellEverywhere(isWell, rank, error))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    Talmo::enterMain();
    MPI_Init(&argc, &argv);
    const Rank rank = thisRank();
    int status = 2;
    if (argc == 2) {
        // The library reports problems of a deck on standard output; once is enough.
        if (rank.number != 0 && std::freopen("/dev/null", "w", stdout) == nullptr)
            std::fclose(stdout);
        status = runDeckTogether(argv[1], rank) ? 0 : 1;
    } else if (rank.number == 0) {
        std::fputs("Usage: mpirun -n N tracker-mpi DECK\n", stderr);
    }
    MPI_Finalize();
    return status;
}
