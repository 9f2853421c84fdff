// Plug-in for the user-mode emulators of QEMU (API version 1): prints the number of instructions that a program ran.
#include <cinttypes>
#include <cstddef>
#include <cstdio>

#define EXPORT extern "C" __attribute__((visibility("default")))

extern "C" {
// What is used of the API, which comes without a header.
struct qemu_plugin_tb;
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, void (*translated)(uint64_t id, qemu_plugin_tb *block));
size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *block);
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb *block, int operation, void *target, uint64_t operand);
void qemu_plugin_register_atexit_cb(uint64_t id, void (*ended)(uint64_t id, void *data), void *data);
}

EXPORT int qemu_plugin_version;
int qemu_plugin_version = 1;

EXPORT int qemu_plugin_install(uint64_t id, const void *, int, char **) {
    static uint64_t s_count = 0;
    qemu_plugin_register_vcpu_tb_trans_cb(id, [](uint64_t, qemu_plugin_tb *block) {
        constexpr int ADD = 0;
        qemu_plugin_register_vcpu_tb_exec_inline(block, ADD, &s_count, qemu_plugin_tb_n_insns(block));
    });
    qemu_plugin_register_atexit_cb(
        id, [](uint64_t, void *) { std::fprintf(stderr, "instructions %" PRIu64 "\n", s_count); }, nullptr);
    return 0;
}
