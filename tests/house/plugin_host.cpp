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

bool UseAndUnload(char const* path) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20;
    using EditProc = int (*)();
    EditProc edit = nullptr;
    int failures[kThreads] = {};
    std::barrier gate(kThreads + 1);

    std::vector<std::thread> threads;
    for (int& failure : failures) {
        threads.emplace_back([&gate, &edit, &failure] {
            for (int round = 0; round < kRounds; ++round) {
                gate.arrive_and_wait();  // loaded
                if (edit) failure += edit();
                gate.arrive_and_wait();  // used
                gate.arrive_and_wait();  // unloaded
            }
        });
    }

    bool sound = true;
    for (int round = 0; round < kRounds; ++round) {
        void* plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!plugin) std::fprintf(stderr, "%s\n", dlerror());
        edit = plugin ? reinterpret_cast<EditProc>(dlsym(plugin, "EditSomeFiles")) : nullptr;
        sound = sound && edit && LibraryIsMapped();
        gate.arrive_and_wait();
        if (edit && edit() != 0) sound = false;
        gate.arrive_and_wait();
        if (plugin) dlclose(plugin);
        if (LibraryIsMapped()) {
            std::fprintf(stderr, "round %d: the library is still there\n", round);
            sound = false;
        }
        gate.arrive_and_wait();
    }
    for (std::thread& thread : threads) thread.join();
    for (int failure : failures) sound = sound && failure == 0;
    return sound;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || LibraryIsMapped()) return 2;
    return UseAndUnload(argv[1]) ? 0 : 1;
}
