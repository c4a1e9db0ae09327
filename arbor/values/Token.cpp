#include "arbor/values/Token.h"

#include "arbor/values/internal/NodeNames.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <pthread.h>
#include <vector>

namespace {

// The process-wide table: every interned string, sorted by strcmp, no two equal. Plain data
// with constant initialisation, so it is usable from any static initialiser of the library.
char** entries = nullptr;
unsigned long count = 0;
unsigned long capacity = 0;

// The copies the table made itself; created on the first interning with the copy flag set.
std::vector<char*>* ownedCopies = nullptr;

constexpr unsigned long initialCapacity = 256;

// The recursive mutex guarding the table. `Token::find` constructs its result while holding it,
// which enters it a second time on the same thread.
class TableMutex {
public:
    TableMutex()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    // Not destroyed by its own destructor: the table's release at exit destroys it last, so the
    // order in which exit handlers run (which differs under some runtimes) cannot matter.
    ~TableMutex() = default;

    TableMutex(const TableMutex&) = delete;
    TableMutex& operator=(const TableMutex&) = delete;

    void lock() { pthread_mutex_lock(&mutex); }
    void unlock() { pthread_mutex_unlock(&mutex); }
    void destroy() { pthread_mutex_destroy(&mutex); }

private:
    pthread_mutex_t mutex;
};

// Made by the first interning in the process, thread-safely.
TableMutex& tableMutex()
{
    static TableMutex mutex;
    return mutex;
}

// Holds the table mutex for a scope, releasing it also when an allocation throws.
class TableLock {
public:
    TableLock() { tableMutex().lock(); }
    ~TableLock() { tableMutex().unlock(); }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
};

struct Lookup {
    bool found;
    unsigned long index; ///< the entry found, or where `name` would be inserted
};

// Binary search of the entries; the caller makes sure the table is not empty.
Lookup lookup(const char* name)
{
    unsigned long low = 0;
    unsigned long high = count;
    while (low < high) {
        const unsigned long middle = low + (high - low) / 2;
        const int order = std::strcmp(entries[middle], name);
        if (order == 0) return { true, middle };
        if (order < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return { false, low };
}

// The stored entry equal to `name`, or null.
char* findEntry(const char* name)
{
    if (count == 0) return nullptr;
    const Lookup found = lookup(name);
    return found.found ? entries[found.index] : nullptr;
}

// Makes room for one more entry; throws std::bad_alloc with the table unchanged.
void reserveEntry()
{
    if (!entries) {
        void* array = std::malloc(initialCapacity * sizeof(char*));
        if (!array) throw std::bad_alloc();
        entries = static_cast<char**>(array);
        capacity = initialCapacity;
        return;
    }
    if (count < capacity) return;
    const unsigned long grown = capacity * 2;
    void* array = std::realloc(entries, grown * sizeof(char*));
    if (!array) throw std::bad_alloc();
    entries = static_cast<char**>(array);
    capacity = grown;
}

// Inserts `name` unless an equal string is stored; returns the stored entry.
char* insert(char* name)
{
    if (!name) return nullptr;
    unsigned long index = 0;
    if (count) {
        const Lookup found = lookup(name);
        if (found.found) return entries[found.index];
        index = found.index;
    }
    reserveEntry();
    std::memmove(entries + index + 1, entries + index, (count - index) * sizeof(char*));
    entries[index] = name;
    ++count;
    return name;
}

// Interns a private copy of `name`, or returns the entry already stored without allocating.
char* insertCopy(const char* name)
{
    if (char* stored = findEntry(name)) return stored;
    std::unique_ptr<char, void (*)(void*)> copy(strdup(name), std::free);
    if (!copy) throw std::bad_alloc();
    if (!ownedCopies) ownedCopies = new std::vector<char*>;
    ownedCopies->push_back(copy.get());
    // Listed, the copy is freed at exit, also when its insertion fails.
    return insert(copy.release());
}

// Interns `name`, copying it or keeping the caller's pointer; returns the stored entry.
const char* intern(const char* name, bool copy)
{
    return copy ? insertCopy(name) : insert(const_cast<char*>(name));
}

// Frees the owned copies and the entries at process exit, then destroys the mutex. Tokens must
// not be interned or looked up after it has run.
void releaseTable()
{
    {
        TableLock lock;
        if (ownedCopies) {
            for (char* copy : *ownedCopies)
                std::free(copy);
            delete ownedCopies;
            ownedCopies = nullptr;
        }
        std::free(entries);
        entries = nullptr;
        count = 0;
        capacity = 0;
    }
    tableMutex().destroy();
}

// Interns a library name and registers the table's release for process exit; used by the last
// of this file's initialisers.
Arbor::Token internLast(const char* name)
{
    Arbor::Token token(name, false);
    std::atexit(releaseTable);
    return token;
}

} // namespace

Arbor::Token::Token(const char* name, bool copy)
{
    if (!name) return;
    TableLock lock;
    this->name = intern(name, copy);
}

Arbor::Token Arbor::Token::find(const char* name)
{
    TableLock lock;
    return Token(name ? findEntry(name) : nullptr, false);
}

void Arbor::Token::create(const char** names, bool copy)
{
    TableLock lock;
    if (!names) return;
    for (const char** name = names; *name; ++name)
        intern(*name, copy);
}

// The library's own names, interned at load time in this order; the last one also registers the
// table's release for process exit.
const Arbor::Token Arbor::tok_document("#document", false);
const Arbor::Token Arbor::tok_rangelist("#rangelist", false);
const Arbor::Token Arbor::tok_documentFragment("#document-fragment", false);
const Arbor::Token Arbor::tok_BeforeReplaceChildren("BeforeReplaceChildren", false);
const Arbor::Token Arbor::tok_AfterReplaceChildren("AfterReplaceChildren", false);
const Arbor::Token Arbor::tok_BeforeReplaceText("BeforeReplaceText", false);
const Arbor::Token Arbor::tok_AfterReplaceText("AfterReplaceText", false);
const Arbor::Token Arbor::tok_BeforeSetAttribute("BeforeSetAttribute", false);
const Arbor::Token Arbor::tok_AfterSetAttribute("AfterSetAttribute", false);
const Arbor::Token Arbor::tok_BeforeRemoveAttribute("BeforeRemoveAttribute", false);
const Arbor::Token Arbor::tok_AfterRemoveAttribute("AfterRemoveAttribute", false);
const Arbor::Token Arbor::tok_BeforeSelectionChange("BeforeSelectionChange", false);
const Arbor::Token Arbor::tok_AfterSelectionChange("AfterSelectionChange", false);
const Arbor::Token Arbor::tok_BeforeDeselect("BeforeDeselect", false);
const Arbor::Token Arbor::tok_range = internLast("#range");
