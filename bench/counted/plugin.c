/*
 * A plugin for qemu's user emulation: the guest instructions between the guest's functions counting_starts
 * and counting_ends, in all and by function. The guest is linked statically and keeps its symbols, and qemu
 * runs with -d plugin: without logging it reads no symbols.
 *
 *   qemu-aarch64 -d plugin -plugin libcounted.so,functions=20 PROGRAM ...
 *
 * functions  so many functions are listed, the largest first; 0 by default
 *
 * Blocks are counted as a whole: an instruction that a condition skips counts, and one that faults would too.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* What is needed of qemu's plugin interface, version 1; no Debian package has its header. */
typedef uint64_t qemu_plugin_id_t;
struct qemu_info;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum { kInterfaceVersion = 1, kAddU64 = 0, kNoRegisters = 0 };
extern void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                                  void (*call)(qemu_plugin_id_t, struct qemu_plugin_tb*));
extern void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb* block,
                                                 void (*call)(unsigned int cpu, void* data), int flags,
                                                 void* data);
extern void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int operation,
                                                     void* counter, uint64_t add);
extern size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
extern struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t index);
extern const char* qemu_plugin_insn_symbol(const struct qemu_plugin_insn* instruction);

#define EXPORTED __attribute__((visibility("default")))
extern EXPORTED int qemu_plugin_version;
EXPORTED int qemu_plugin_version = kInterfaceVersion;
EXPORTED int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info* info, int count,
                                 char** arguments);

/* A translated block; a block that is translated again is another one. */
typedef struct Block {
  uint64_t executed; /* instructions */
  const char* function;
  struct Block* next;
} Block;

static Block* blocks;
static int listed;

static void Starts(unsigned int cpu, void* data) {
  Block* block;
  (void)cpu, (void)data;
  for (block = blocks; block != NULL; block = block->next) block->executed = 0;
}

static int ByFunction(const void* a, const void* b) {
  return strcmp((*(Block* const*)a)->function, (*(Block* const*)b)->function);
}

static int ByInstructions(const void* a, const void* b) {
  const uint64_t x = (*(Block*const*)a)->executed, y = (*(Block*const*)b)->executed;
  return x < y ? 1 : x > y ? -1 : ByFunction(a, b);
}

/* Adds each function's blocks to its first one and puts these in front: so many functions. */
static size_t Merge(Block** all, size_t count) {
  size_t i, functions = 0;
  qsort(all, count, sizeof *all, ByFunction);
  for (i = 0; i < count; ++i) {
    if (functions > 0 && ByFunction(&all[functions - 1], &all[i]) == 0)
      all[functions - 1]->executed += all[i]->executed;
    else
      all[functions++] = all[i];
  }
  qsort(all, functions, sizeof *all, ByInstructions);
  return functions;
}

static void Ends(unsigned int cpu, void* data) {
  uint64_t total = 0;
  size_t i, count = 0, functions;
  Block *block, **all;
  (void)cpu, (void)data;
  for (block = blocks; block != NULL; block = block->next) {
    total += block->executed;
    ++count;
  }
  printf("instructions %llu\n", (unsigned long long)total);
  fflush(stdout);
  if (listed == 0) return;
  all = malloc(count * sizeof *all);
  if (all == NULL) abort();
  for (i = 0, block = blocks; block != NULL; block = block->next) all[i++] = block;
  functions = Merge(all, count);
  for (i = 0; i < functions && i < (size_t)listed; ++i)
    printf("%12llu %5.1f %% %s\n", (unsigned long long)all[i]->executed,
           100.0 * (double)all[i]->executed / (double)total, all[i]->function);
  fflush(stdout);
  free(all);
}

static void Translated(qemu_plugin_id_t id, struct qemu_plugin_tb* translated) {
  const char* const function = qemu_plugin_insn_symbol(qemu_plugin_tb_get_insn(translated, 0));
  Block* const block = calloc(1, sizeof *block);
  (void)id;
  if (block == NULL) abort();
  block->function = function != NULL ? function : "(no symbol)";
  block->next = blocks;
  blocks = block;
  qemu_plugin_register_vcpu_tb_exec_inline(translated, kAddU64, &block->executed,
                                           qemu_plugin_tb_n_insns(translated));
  if (strcmp(block->function, "counting_starts") == 0)
    qemu_plugin_register_vcpu_tb_exec_cb(translated, Starts, kNoRegisters, NULL);
  if (strcmp(block->function, "counting_ends") == 0)
    qemu_plugin_register_vcpu_tb_exec_cb(translated, Ends, kNoRegisters, NULL);
}

int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info* info, int count, char** arguments) {
  (void)info;
  for (int i = 0; i < count; ++i)
    if (strncmp(arguments[i], "functions=", 10) == 0) listed = atoi(arguments[i] + 10);
  qemu_plugin_register_vcpu_tb_trans_cb(id, Translated);
  return 0;
}
