// A program with threads that knows nothing of the library: loads a plugin that brings it, has threads use it
// that ran before and that run on afterwards, and unloads the plugin again. What the library hung on them
// must go with it: a thread that ends after the unloading would run code that is no longer there.
#include <dlfcn.h>

#include <barrier>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

bool LibraryIsMapped() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libvfile") != std::string::npos) return true;
    }
    return false;
}

constexpr int kThreads = 4;
constexpr int kRounds = 20;
using EditProc = int (*)();

// Every thread runs through the rounds alike: all wait until the plugin is loaded, use it, and wait until it is
// unloaded again.
struct Rounds {
    std::barrier<> gate{kThreads + 1};
    EditProc edit = nullptr;
    int failures[kThreads] = {};

    void UsePlugin(int& failure) {
        for (int round = 0; round < kRounds; ++round) {
            gate.arrive_and_wait();
            if (edit) failure += edit();
            gate.arrive_and_wait();
            gate.arrive_and_wait();
        }
    }

    // False when something went wrong on the calling thread, which loads and unloads.
    bool LoadAndUnload(char const* path) {
        void* plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!plugin) std::fprintf(stderr, "%s\n", dlerror());
        edit = plugin ? reinterpret_cast<EditProc>(dlsym(plugin, "EditSomeFiles")) : nullptr;
        bool sound = edit && LibraryIsMapped();
        gate.arrive_and_wait();
        if (edit && edit() != 0) sound = false;
        gate.arrive_and_wait();
        if (plugin) dlclose(plugin);
        bool const gone = !LibraryIsMapped();
        if (!gone) std::fprintf(stderr, "the library is still there\n");
        gate.arrive_and_wait();
        return sound && gone;
    }
};

bool UseAndUnload(char const* path) {
    Rounds rounds;
    std::vector<std::thread> threads;
    for (int& failure : rounds.failures) {
        threads.emplace_back([&rounds, &failure] { rounds.UsePlugin(failure); });
    }
    bool sound = true;
    for (int round = 0; round < kRounds; ++round) sound = rounds.LoadAndUnload(path) && sound;
    for (std::thread& thread : threads) thread.join();
    for (int failure : rounds.failures) sound = sound && failure == 0;
    return sound;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || LibraryIsMapped()) return 2;
    return UseAndUnload(argv[1]) ? 0 : 1;
}
