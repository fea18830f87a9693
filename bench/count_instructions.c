/* A plugin of QEMU 7 that prints how many instructions a program executed, all threads together;
   for scripts/instructions.sh. Debian has no header for plugins: what is used of it is declared
   here. */
#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>

typedef uint64_t Plugin;
struct qemu_plugin_tb;
void qemu_plugin_register_vcpu_tb_trans_cb(Plugin, void (*)(Plugin, struct qemu_plugin_tb*));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb*);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb*, int add, void* to,
                                              uint64_t count);
void qemu_plugin_register_atexit_cb(Plugin, void (*)(Plugin, void*), void*);

int qemu_plugin_version = 1;
static uint64_t executed; /* added to without a lock: for programs that keep to one processor */

static void translate(Plugin plugin, struct qemu_plugin_tb* block) {
  (void)plugin;
  qemu_plugin_register_vcpu_tb_exec_inline(block, 0, &executed, qemu_plugin_tb_n_insns(block));
}

static void print(Plugin plugin, void* unused) {
  (void)plugin;
  (void)unused;
  fprintf(stderr, "instructions: %" PRIu64 "\n", executed);
}

int qemu_plugin_install(Plugin plugin, const void* machine, int count, char** arguments) {
  (void)machine;
  (void)count;
  (void)arguments;
  qemu_plugin_register_vcpu_tb_trans_cb(plugin, translate);
  qemu_plugin_register_atexit_cb(plugin, print, NULL);
  return 0;
}
