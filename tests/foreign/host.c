/* A host that knows the module by its contract alone: plain C, nothing of ours included or linked.
 *
 *   foreign_host MODULE FOLDER
 *
 * Loads the module, sets it up in the folder, gives a contact to a store, takes it back, frees
 * everything and unloads the module. Exits with 0 when every step did what it should. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <uchar.h>

typedef struct {
  uint32_t data1;
  uint16_t data2, data3;
  uint8_t data4[8];
} Guid;
typedef char16_t* Text;

typedef struct {
  uint16_t type, reserved[3];
  union {
    int64_t raw;
    Text text;
    double number;
  } value;
} Value;
enum { kEmpty = 0, kText = 8 };

/* Every interface begins with these; the automation ones, which are all but the factory, have four
 * more slots before their own. */
typedef struct Object Object;
#define UNKNOWN_SLOTS                             \
  int32_t (*query)(Object*, const Guid*, void**); \
  uint32_t (*addRef)(Object*);                    \
  uint32_t (*release)(Object*)
#define DISPATCH_SLOTS \
  UNKNOWN_SLOTS;       \
  void (*dispatch[4])(void)

typedef struct {
  UNKNOWN_SLOTS;
  int32_t (*createInstance)(Object*, Object* outer, const Guid*, void**);
  int32_t (*lockServer)(Object*, int16_t);
} FactorySlots;
typedef struct {
  DISPATCH_SLOTS;
  int32_t (*setSyncDatabasePath)(Object*, Text);
  int32_t (*setOutlookFolder)(Object*, Text);
  int32_t (*setRegistryFile)(Object*, Text);
  int32_t (*setAnsiCodePage)(Object*, Text);
  int32_t (*getDefaultFolder)(Object*, Text profile, int32_t kind, Text*);
  int32_t (*setDebugLog)(Object*, int16_t);
} SettingsSlots;
typedef struct {
  DISPATCH_SLOTS;
  int32_t (*initialize)(Object*, Object* bag);
  int32_t (*setUserKey)(Object*, Text);
  int32_t (*getDataStore)(Object*, Text uri, Object**);
  int32_t (*removeDataStore)(Object*, Text);
  int32_t (*getDataStoreAll)(Object*, Object**);
  int32_t (*setTargetKey)(Object*, Text);
} ManagerSlots;
typedef struct {
  DISPATCH_SLOTS;
  void (*before[3])(void); /* Initialize, SetDBAccessor, SetUserKey */
  int32_t (*add)(Object*, Object* data, Text type, Text parent, Text* id);
  void (*between[3])(void); /* Replace, Delete, Move */
  int32_t (*get)(Object*, Text id, int16_t updateField, Text* type, Text* parent, Object** item,
                 Object** data);
  int32_t (*getAllUid)(Object*, Object** list);
} StoreSlots;
typedef struct {
  DISPATCH_SLOTS;
  int32_t (*getLength)(Object*, int32_t*);
  int32_t (*getText)(Object*, char*, int32_t);
  int32_t (*setText)(Object*, const char*, int32_t);
} ContentSlots;
typedef struct {
  DISPATCH_SLOTS;
  int32_t (*count)(Object*, int32_t*);
  int32_t (*item)(Object*, int32_t, Value*);
} ListSlots;
typedef struct {
  DISPATCH_SLOTS;
  int32_t (*getValue)(Object*, Text key, Value*);
  int32_t (*setValue)(Object*, Text key, Value, int16_t);
} BagSlots;

struct Object {
  const void* slots;
};
#define CALL(Interface, object, slot, ...) \
  (((const Interface*)(object)->slots)->slot((object)__VA_OPT__(, ) __VA_ARGS__))

#define ID(a, b, c, ...) \
  {                      \
    a, b, c, {           \
      __VA_ARGS__        \
    }                    \
  }
static const Guid kFactory = ID(1, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
static const Guid kUnknown = ID(0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
static const Guid kSettingsClass =
    ID(0xC5D0CE03, 0x43D3, 0x4312, 0xB2, 0x01, 0xF9, 0xCB, 0x2E, 0xC5, 0x2C, 0x33);
static const Guid kSettings =
    ID(0xD6BC37D5, 0x3C6A, 0x4EBA, 0x81, 0x91, 0x40, 0xC0, 0x11, 0x45, 0x54, 0xDC);
static const Guid kManagerClass =
    ID(0x0B542693, 0x3587, 0x4261, 0x9D, 0x18, 0x10, 0x64, 0xA7, 0xCF, 0x3B, 0x36);
static const Guid kManager =
    ID(0x956DD4D9, 0x40EB, 0x47F3, 0x95, 0xFD, 0x3A, 0x07, 0x7A, 0xD6, 0x32, 0x62);
static const Guid kContentClass =
    ID(0xFE23E96E, 0xF707, 0x4BB9, 0xA1, 0xDC, 0x11, 0x65, 0xED, 0xE2, 0xC6, 0x23);
static const Guid kContent =
    ID(0x7F6668EE, 0xFB19, 0x4BC6, 0xA3, 0x74, 0x6A, 0xD1, 0x75, 0xCC, 0x7D, 0x16);
static const Guid kBag =
    ID(0x185D1E6B, 0xD51D, 0x4F2F, 0xBA, 0x47, 0xE8, 0x8C, 0x5A, 0x63, 0xFC, 0x39);

/* The eight exports. */
static int32_t (*DllCanUnloadNow)(void);
static int32_t (*DllGetClassObject)(const Guid*, const Guid*, void**);
static int32_t (*DllRegisterServer)(void);
static int32_t (*DllUnregisterServer)(void);
static Text (*SysAllocString)(const char16_t*);
static Text (*SysAllocStringLen)(const char16_t*, uint32_t);
static uint32_t (*SysStringLen)(const char16_t*);
static void (*SysFreeString)(Text);

static const struct {
  const char* name;
  void* function;
} kExports[] = {
    {"DllCanUnloadNow", &DllCanUnloadNow},     {"DllGetClassObject", &DllGetClassObject},
    {"DllRegisterServer", &DllRegisterServer}, {"DllUnregisterServer", &DllUnregisterServer},
    {"SysAllocString", &SysAllocString},       {"SysAllocStringLen", &SysAllocStringLen},
    {"SysStringLen", &SysStringLen},           {"SysFreeString", &SysFreeString},
};

#define EXPECT(condition)                                             \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      exit(1);                                                        \
    }                                                                 \
  } while (0)

/* The engine's bag, implemented on this side: the module frees the texts that come out of it. */
static struct {
  const char16_t *key, *text;
} g_values[] = {
    {u"DataStore.Contact", u"true"},
    {u"DataStore.Contact.Sync", u"true"},
    {u"DataStore.Contact.CLSID", u"{E5621430-B7CE-4727-9CED-29F8F3B1BF49}"},
    {u"DataStore.Contact.SourceURI", u"contacts"},
    {u"DataStore.Contact.MimeType", u"text/x-vCard"},
    {u"DataStore.Contact.EntryId", NULL},
};
static int IsText(const char16_t* a, const char16_t* b) {
  while (*a != 0 && *a == *b) ++a, ++b;
  return *a == *b;
}
static int32_t BagQuery(Object* bag, const Guid* id, void** out) {
  const int known = memcmp(id, &kUnknown, sizeof *id) == 0 || memcmp(id, &kBag, sizeof *id) == 0;
  *out = known ? bag : NULL;
  return known ? 0 : (int32_t)0x80004002u;
}
static uint32_t BagCount(Object* bag) {
  (void)bag;
  return 1; /* it outlives everything */
}
static int32_t BagGet(Object* bag, Text key, Value* value) {
  (void)bag;
  *value = (Value){.type = kEmpty};
  for (size_t i = 0; i < sizeof g_values / sizeof *g_values; ++i) {
    if (!IsText(key, g_values[i].key)) continue;
    *value = (Value){.type = kText, .value = {.text = SysAllocString(g_values[i].text)}};
  }
  return 0;
}
static int32_t BagSet(Object* bag, Text key, Value value, int16_t persist) {
  (void)bag, (void)key, (void)value, (void)persist;
  return 0;
}
static const BagSlots kBagSlots = {BagQuery, BagCount, BagCount, {0}, BagGet, BagSet};

static Object* Make(const Guid* classId, const Guid* interfaceId) {
  Object *factory, *object;
  EXPECT(DllGetClassObject(classId, &kFactory, (void**)&factory) == 0);
  EXPECT(CALL(FactorySlots, factory, createInstance, NULL, interfaceId, (void**)&object) == 0);
  CALL(FactorySlots, factory, release);
  return object;
}

static void Release(Object* object) {
  if (object != NULL) CALL(FactorySlots, object, release);
}

static Text PathIn(const char* folder, const char* name) {
  char16_t path[4096];
  uint32_t length = 0;
  for (; *folder != 0; ++folder) path[length++] = (char16_t)*folder;
  path[length++] = u'/';
  for (; *name != 0; ++name) path[length++] = (char16_t)*name;
  return SysAllocStringLen(path, length);
}

static void UseStore(Object* manager) {
  static const char kCard[] =
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Curie;Marie\r\nUID:u1\r\nEND:VCARD\r\n";
  Text uri = SysAllocString(u"contacts"), mime = SysAllocString(u"text/x-vCard");
  Text id, type, parent;
  Object *store, *content = Make(&kContentClass, &kContent), *item, *data, *list;
  EXPECT(CALL(ManagerSlots, manager, getDataStore, uri, &store) == 0);
  EXPECT(CALL(ContentSlots, content, setText, kCard, (int32_t)strlen(kCard)) == 0);
  EXPECT(CALL(StoreSlots, store, add, content, mime, NULL, &id) == 0);
  EXPECT(SysStringLen(id) == 32);

  EXPECT(CALL(StoreSlots, store, get, id, 0, &type, &parent, &item, &data) == 0);
  EXPECT(IsText(type, u"text/x-vCard") && IsText(parent, u"/") && item != NULL);
  int32_t length = 0;
  EXPECT(CALL(ContentSlots, data, getLength, &length) == 0);
  char* card = calloc(1, (size_t)length + 1);
  EXPECT(CALL(ContentSlots, data, getText, card, length) == 0);
  EXPECT(strstr(card, "N:Curie;Marie") != NULL && strstr(card, "UID:u1\r\n") != NULL);
  free(card);

  int32_t count = 0;
  Value value;
  EXPECT(CALL(StoreSlots, store, getAllUid, &list) == 0);
  EXPECT(CALL(ListSlots, list, count, &count) == 0 && count == 1);
  EXPECT(CALL(ListSlots, list, item, 0, &value) == 0 && value.type == kText);
  EXPECT(IsText(value.value.text, id));

  const Text texts[] = {uri, mime, id, type, parent, value.value.text, NULL};
  for (size_t i = 0; i < sizeof texts / sizeof *texts; ++i) SysFreeString(texts[i]);
  Object* const objects[] = {store, content, item, data, list};
  for (size_t i = 0; i < sizeof objects / sizeof *objects; ++i) Release(objects[i]);
}

static int IsLoaded(const char* module) {
  void* handle = dlopen(module, RTLD_NOW | RTLD_NOLOAD);
  if (handle != NULL) dlclose(handle);
  return handle != NULL;
}

int main(int argc, char** argv) {
  EXPECT(argc == 3);
  void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  EXPECT(module != NULL);
  for (size_t i = 0; i < sizeof kExports / sizeof *kExports; ++i) {
    void* symbol = dlsym(module, kExports[i].name);
    EXPECT(symbol != NULL);
    memcpy(kExports[i].function, &symbol, sizeof symbol);
  }
  EXPECT(SysAllocString(NULL) == NULL && SysStringLen(NULL) == 0);
  EXPECT(DllRegisterServer() == 0 && DllCanUnloadNow() == 0);

  Object* settings = Make(&kSettingsClass, &kSettings);
  Text database = PathIn(argv[2], "sync.db"), folder = PathIn(argv[2], "pc"), contacts;
  EXPECT(CALL(SettingsSlots, settings, setSyncDatabasePath, database) == 0);
  EXPECT(CALL(SettingsSlots, settings, setOutlookFolder, folder) == 0);
  EXPECT(CALL(SettingsSlots, settings, setDebugLog, 0) == 0);
  EXPECT(CALL(SettingsSlots, settings, getDefaultFolder, NULL, 0x28, &contacts) == 0);
  g_values[5].text = contacts;

  Object bag = {&kBagSlots};
  Object* manager = Make(&kManagerClass, &kManager);
  EXPECT(CALL(ManagerSlots, manager, initialize, &bag) == 0);
  UseStore(manager);
  EXPECT(DllCanUnloadNow() == 1);
  Release(manager);
  Release(settings);
  SysFreeString(database), SysFreeString(folder), SysFreeString(contacts);
  EXPECT(DllCanUnloadNow() == 0 && DllUnregisterServer() == 0);
  EXPECT(dlclose(module) == 0);
  EXPECT(!IsLoaded(argv[1]));
  return 0;
}
