#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/// While it lives, so many threads call the same function again and again, with their own number, counted from 1, and
/// that of the call, counted from 0.
class Others
{
public:
    Others(int count, const std::function<void(int thread, int number)>& call)
    {
        for (int thread = 1; thread <= count; ++thread) {
            iThreads.emplace_back([this, thread, call] {
                for (int number = 0; !iEnd; ++number)
                    call(thread, number);
            });
        }
    }
    ~Others()
    {
        iEnd = true;
        for (std::thread& thread : iThreads)
            thread.join();
    }
    Others(const Others&) = delete;
    Others& operator=(const Others&) = delete;

private:
    std::atomic<bool> iEnd{false};
    std::vector<std::thread> iThreads;
};
