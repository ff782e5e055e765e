#include "dump.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The longest line: a route of 1024 paths, or two blocks of a frame in hexadecimal digits. */
enum { LINE_SIZE = 256 * 1024 };

static char *copy_of(const char *text)
{
    const size_t size = strlen(text) + 1;
    char *copy = malloc(size);
    if (copy != NULL)
        memcpy(copy, text, size);
    return copy;
}

static int has_room(struct dump *dump)
{
    if (dump->count < dump->capacity)
        return 1;
    const size_t capacity = dump->capacity == 0 ? 1024 : 2 * dump->capacity;
    char **lines = realloc(dump->lines, capacity * sizeof *lines);
    if (lines == NULL)
        return 0;
    dump->lines = lines;
    dump->capacity = capacity;
    return 1;
}

void dump_add(struct dump *dump, const struct table_key *key, const uint8_t *kept, size_t kept_len)
{
    static char text[LINE_SIZE];
    kept_text(key, kept, kept_len, text, sizeof text);
    char *line = has_room(dump) ? copy_of(text) : NULL;
    if (line == NULL)
        dump->failed = 1;
    else
        dump->lines[dump->count++] = line;
}

static int by_text(const void *left, const void *right)
{
    return strcmp(*(char *const *)left, *(char *const *)right);
}

static int write_lines(const struct dump *dump, const char *path)
{
    FILE *file = fopen(path, "w");
    if (file == NULL)
        return 0;
    for (size_t i = 0; i < dump->count; i++) {
        fputs(dump->lines[i], file);
        fputc('\n', file);
    }
    const int is_written = !ferror(file);
    return fclose(file) == 0 && is_written;
}

static int write_and_rename(const struct dump *dump, const char *path)
{
    char beside[4096];
    if (dump->failed) {
        errno = ENOMEM;
        return 0;
    }
    if (snprintf(beside, sizeof beside, "%s.part", path) >= (int)sizeof beside) {
        errno = ENAMETOOLONG;
        return 0;
    }
    if (write_lines(dump, beside) && rename(beside, path) == 0)
        return 1;
    const int error = errno;
    remove(beside);
    errno = error;
    return 0;
}

int dump_write(struct dump *dump, const char *path)
{
    if (dump->count != 0)
        qsort(dump->lines, dump->count, sizeof *dump->lines, by_text);
    const int is_written = write_and_rename(dump, path);
    for (size_t i = 0; i < dump->count; i++)
        free(dump->lines[i]);
    free(dump->lines);
    memset(dump, 0, sizeof *dump);
    return is_written;
}
