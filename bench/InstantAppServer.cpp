// Stands for Codex where only the client's own time counts: answers each request at once.

#include <cstdio>
#include <cstring>

int main()
{
    char line[4096];
    while (std::fgets(line, sizeof line, stdin)) {
        if (std::strstr(line, "\"id\":1"))
            std::puts(R"({"id":1,"result":{"userAgent":"x"}})");
        else if (std::strstr(line, "\"id\":2"))
            std::puts(R"({"id":2,"result":{"rateLimits":{"primary":{"usedPercent":42,)"
                      R"("windowDurationMins":300,"resetsAt":1795380570}}}})");
        std::fflush(stdout);
    }
}
