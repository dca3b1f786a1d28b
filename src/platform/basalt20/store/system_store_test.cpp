// Named stores in folders of the test's own.
#include <basalt/configuration.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/store.h>
#include <basalt/store/test_file.h>
#include <basalt/sup/test_error.h>

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class SystemStore : public testing::Test {
protected:
    void SetUp() override {
        umask(S_IWGRP | S_IWOTH); // what others may write is passed over
        std::string pattern = (fs::temp_directory_path() / "stores.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        set("BASALT_USER_STORES", folder_ / "user");
        set("BASALT_MACHINE_STORES", folder_ / "machine");
        set("BASALT_SYSTEM_ROOTS", folder_ / "roots.pem");
    }
    void TearDown() override {
        for (const char* name :
             {"BASALT_USER_STORES", "BASALT_MACHINE_STORES", "BASALT_SYSTEM_ROOTS"}) {
            unsetenv(name);
        }
        fs::remove_all(folder_);
    }
    static void set(const char* name, const fs::path& value) { setenv(name, value.c_str(), 1); }

    static HCERTSTORE open(const wchar_t* name, DWORD flags = 0,
                           DWORD location = CERT_SYSTEM_STORE_CURRENT_USER) {
        return CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, location | flags, name);
    }
    static int count(HCERTSTORE store) {
        int found = 0;
        PCCERT_CONTEXT context = nullptr;
        while ((context = CertEnumCertificatesInStore(store, context)) != nullptr) {
            ++found;
        }
        return found;
    }
    static int count(const wchar_t* name) { return count(Store(open(name))); }
    // That a folder was absent is kept in mind for a moment.
    static void wait_for(const wchar_t* name, int wanted) {
        for (int tries = 0; count(name) != wanted && tries < 100; ++tries) {
            usleep(50000);
        }
    }
    static void add(const wchar_t* name, const std::string& file,
                    DWORD location = CERT_SYSTEM_STORE_CURRENT_USER) {
        const Store store(open(name, 0, location));
        EXPECT_TRUE(CertAddCertificateContextToStore(store, test_certificate(file).get(),
                                                     CERT_STORE_ADD_USE_EXISTING, nullptr));
    }

    fs::path folder_;
};

TEST_F(SystemStore, KeepsCertificatesAndPropertiesBetweenOpenings) {
    HCERTSTORE store = open(L"My");
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(count(store), 0);
    EXPECT_FALSE(fs::exists(folder_ / "user"));
    const auto certificate = test_certificate("rsa.cer");
    wchar_t container[] = L"key one";
    CRYPT_KEY_PROV_INFO info{container, nullptr, 24, 0, 0, nullptr, 1};
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(
        CertAddCertificateContextToStore(store, certificate.get(), CERT_STORE_ADD_ALWAYS, &added));
    ASSERT_TRUE(CertSetCertificateContextProperty(added, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    CertFreeCertificateContext(added);
    CertCloseStore(store, 0);

    store = open(L"MY", CERT_STORE_READONLY_FLAG);
    PCCERT_CONTEXT found = CertFindCertificateInStore(store, 0x10001, 0, CERT_FIND_EXISTING,
                                                      certificate.get(), nullptr);
    ASSERT_NE(found, nullptr);
    std::vector<BYTE> block(512);
    auto size = static_cast<DWORD>(block.size());
    ASSERT_TRUE(
        CertGetCertificateContextProperty(found, CERT_KEY_PROV_INFO_PROP_ID, block.data(), &size));
    EXPECT_STREQ(reinterpret_cast<CRYPT_KEY_PROV_INFO*>(block.data())->pwszContainerName,
                 container);

    // Read only: a property stays in memory, an object is refused.
    ASSERT_TRUE(CertSetCertificateContextProperty(found, CERT_KEY_PROV_INFO_PROP_ID, 0, nullptr));
    EXPECT_FALSE(CertDeleteCertificateFromStore(found));
    EXPECT_ERROR(E_ACCESSDENIED, CertAddCertificateContextToStore(store, certificate.get(),
                                                                  CERT_STORE_ADD_ALWAYS, nullptr));
    CertCloseStore(store, 0);

    store = open(L"My");
    found = CertEnumCertificatesInStore(store, nullptr);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(CertEnumCertificateContextProperties(found, 0), CERT_KEY_PROV_INFO_PROP_ID);
    ASSERT_TRUE(CertDeleteCertificateFromStore(found));
    CertCloseStore(store, 0);
    EXPECT_EQ(count(L"My"), 0);
    EXPECT_TRUE(fs::is_empty(folder_ / "user/My"));
}

TEST_F(SystemStore, MachineStoresStandBehindTheUsersOwn) {
    add(L"CA", "root.cer", CERT_SYSTEM_STORE_LOCAL_MACHINE);
    EXPECT_TRUE(fs::exists(folder_ / "machine/CA"));
    EXPECT_EQ(count(L"CA"), 1);
    add(L"CA", "ec.cer");
    EXPECT_EQ(count(L"CA"), 2);
    EXPECT_EQ(count(Store(open(L"CA", 0, CERT_SYSTEM_STORE_LOCAL_MACHINE))), 1);
}

TEST_F(SystemStore, RootShowsTheSystemsRootsAndFollowsTheirFile) {
    EXPECT_EQ(count(L"Root"), 0);
    fs::copy_file(std::string(CHRONOSEAL_TESTDATA) + "/bundle.pem", folder_ / "roots.pem");
    EXPECT_EQ(count(L"Root"), 2);
    add(L"Root", "ec.cer");
    EXPECT_EQ(count(L"Root"), 3);
    EXPECT_EQ(count(L"AuthRoot"), 2);
    fs::remove(folder_ / "roots.pem");
    EXPECT_EQ(count(L"Root"), 1);
}

TEST_F(SystemStore, OpeningFlagsAndNames) {
    EXPECT_ERROR(ERROR_FILE_NOT_FOUND, open(L"My", CERT_STORE_OPEN_EXISTING_FLAG));
    add(L"My", "ec.cer");
    EXPECT_ERROR(ERROR_FILE_EXISTS, open(L"My", CERT_STORE_CREATE_NEW_FLAG));
    for (const wchar_t* bad : {L"", L"..", L"a/b", L".hidden"}) {
        EXPECT_EQ(open(bad), nullptr) << bad;
        EXPECT_EQ(GetLastError(), E_INVALIDARG);
    }
}

// Half-written files, foreign files and broken properties don't keep the rest from being read.
TEST_F(SystemStore, DamagedFilesArePassedOver) {
    add(L"AddressBook", "rsa.cer");
    const fs::path book = folder_ / "user/AddressBook";
    std::ofstream(book / "noise.cer") << "\x30\x82\x01";
    std::ofstream(book / "empty.cer").flush();
    std::ofstream(book / "x.cer.AbCdEf") << "in the making";
    std::ofstream(book / "readme.txt") << "a note";
    fs::create_directory(book / "folder.cer");
    fs::copy_file(std::string(CHRONOSEAL_TESTDATA) + "/bundle.pem", book / "given.cer");
    fs::copy_file(std::string(CHRONOSEAL_TESTDATA) + "/root.crl", book / "list.crl");
    for (const auto& entry : fs::directory_iterator(book)) {
        if (entry.path().stem().string().size() == 40) {
            std::ofstream(fs::path(entry.path()).replace_extension(".properties"))
                << "rubbish\n11 4142\n12 4\n0 00\n99999999999 00\n13 zz\n14 ";
        }
    }
    EXPECT_EQ(count(L"AddressBook"), 2); // one is in the bundle too
    const Store store(open(L"AddressBook", CERT_STORE_READONLY_FLAG));
    const CertificatePtr found(CertFindCertificateInStore(store, 1, 0, CERT_FIND_PROPERTY,
                                                          &CERT_FRIENDLY_NAME_PROP_ID, nullptr));
    EXPECT_NE(found, nullptr);
    PCCRL_CONTEXT list = CertEnumCRLsInStore(store, nullptr);
    EXPECT_NE(list, nullptr);
    CertFreeCRLContext(list);
}

// What people have is files in PEM and DER under names of their own.
TEST_F(SystemStore, DroppedFilesAreSeenOnceAndGoWhenTheyAreRemoved) {
    add(L"CA", "rsa.cer");
    const fs::path store = folder_ / "user/CA";
    const std::string data = CHRONOSEAL_TESTDATA;
    fs::copy_file(data + "/ec.cer", store / "mine.crt");
    fs::copy_file(data + "/bundle.pem", store / "bundle.pem");
    const int all = count(L"CA");
    EXPECT_EQ(all, 3); // one is in the bundle too
    fs::copy_file(data + "/ec.cer", store / "again.der");
    fs::copy_file(data + "/bundle.pem", store / "again.cer");
    fs::copy_file(data + "/ec.cer", store / ".hidden.crt");
    fs::copy_file(data + "/ec.cer", store / "note.txt");
    EXPECT_EQ(count(L"CA"), all);
    {
        std::ifstream bundle(data + "/bundle.pem");
        std::ofstream off(store / "off.pem");
        for (std::string line; std::getline(bundle, line);) {
            off << (line.starts_with("-----BEGIN") ? "# " : "") << line << '\n';
        }
    }
    fs::remove(store / "bundle.pem");
    fs::remove(store / "again.cer");
    EXPECT_EQ(count(L"CA"), all - 1) << "nobody wants what he has commented out";
    std::ifstream file(data + "/bundle.pem");
    const std::string bundle(std::istreambuf_iterator<char>(file), {});
    const std::size_t size = bundle.size() + 1;
    std::ofstream(store / "inside.cer")
        << "\x30\x82" << static_cast<char>(size >> 8) << static_cast<char>(size) << '\n'
        << bundle;
    EXPECT_EQ(count(L"CA"), all - 1) << "what stands in DER is a part of that";
    std::string glued = bundle;
    const std::size_t second = glued.rfind("-----BEGIN");
    glued.erase(glued.rfind("-----", second - 1) + 5, second);
    std::ofstream(store / "glued.pem") << glued;
    EXPECT_EQ(count(L"CA"), all) << "the last line of a file may lack its end";
    fs::copy_file(data + "/bundle.pem", store / "bundle.pem");

    const auto certificate = test_certificate("ec.cer");
    const Store opened(open(L"CA"));
    PCCERT_CONTEXT found = CertFindCertificateInStore(opened, 0x10001, 0, CERT_FIND_EXISTING,
                                                      certificate.get(), nullptr);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(CertDeleteCertificateFromStore(found));
    // One of several in a file would come back.
    const auto root = test_certificate("root.cer");
    found = CertFindCertificateInStore(opened, 0x10001, 0, CERT_FIND_EXISTING, root.get(), nullptr);
    ASSERT_NE(found, nullptr);
    EXPECT_ERROR(E_ACCESSDENIED, CertDeleteCertificateFromStore(found));
    EXPECT_EQ(count(L"CA"), all - 1);
    EXPECT_FALSE(fs::exists(store / "mine.crt"));
    EXPECT_FALSE(fs::exists(store / "again.der"));
}

TEST_F(SystemStore, WhatOthersMayWriteIsPassedOver) {
    add(L"Root", "rsa.cer");
    add(L"Root", "ec.cer");
    const fs::path store = folder_ / "user/Root";
    EXPECT_EQ(count(L"Root"), 2);
    const fs::path file = fs::directory_iterator(store)->path();
    for (const fs::perms bad : {fs::perms::group_write, fs::perms::others_write}) {
        fs::permissions(file, bad, fs::perm_options::add);
        EXPECT_EQ(count(L"Root"), 1);
        fs::permissions(file, bad, fs::perm_options::remove);
        fs::permissions(store, bad, fs::perm_options::add);
        EXPECT_EQ(count(L"Root"), 0);
        const Store opened(open(L"Root"));
        EXPECT_ERROR(E_ACCESSDENIED,
                     CertAddCertificateContextToStore(opened, test_certificate("root.cer").get(),
                                                      CERT_STORE_ADD_USE_EXISTING, nullptr));
        fs::permissions(store, bad, fs::perm_options::remove);
    }
    EXPECT_EQ(count(L"Root"), 2);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), 4711, 4711), 0);
        EXPECT_EQ(count(L"Root"), 1);
        ASSERT_EQ(chown(store.c_str(), 4711, 4711), 0);
        EXPECT_EQ(count(L"Root"), 0);
    }
}

// Under a generous umask a store of one's own must not be refused the next moment.
TEST_F(SystemStore, NewFoldersAreOnesOwnWhateverTheUmask) {
    const mode_t before = umask(0);
    add(L"Root", "rsa.cer");
    umask(before);
    EXPECT_EQ(count(L"Root"), 1);
}

TEST_F(SystemStore, FolderThatAppearsIsSeen) {
    EXPECT_EQ(count(L"CA"), 0);
    fs::create_directories(folder_ / "machine/CA");
    fs::copy_file(std::string(CHRONOSEAL_TESTDATA) + "/ec.cer", folder_ / "machine/CA/x.cer");
    wait_for(L"CA", 1);
    EXPECT_EQ(count(L"CA"), 1);
}

TEST_F(SystemStore, ConfigurationLeavesOutTheSystemsRoots) {
    fs::copy_file(std::string(CHRONOSEAL_TESTDATA) + "/bundle.pem", folder_ / "roots.pem");
    const struct {
        const char* text;
        int roots;
    } cases[] = {{"", 2},
                 {"[config.basalt]\nSystemRoots = true\n", 2},
                 {"[config.basalt]\nSystemRoots = false\n", 0},
                 {"[config.basalt]\nSystemRoots = 'no'\n", 2},
                 {"[config.basalt\nSystemRoots = false\n", 0}};
    set("BASALT_CONFIG", folder_ / "config.toml");
    for (const auto& each : cases) {
        std::ofstream(folder_ / "config.toml") << each.text;
        support_registry_refresh();
        EXPECT_EQ(count(L"Root"), each.roots) << each.text;
    }
    unsetenv("BASALT_CONFIG");
}

// Several processes write the same and other certificates while this one reads: it never sees half
// a file.
TEST_F(SystemStore, ProcessesMayWriteAtOnce) {
    std::vector<pid_t> children;
    for (const char* name : {"rsa.cer", "rsa.cer", "ec.cer"}) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            bool good = true;
            for (int i = 0; i < 20; ++i) {
                const Store store(open(L"My"));
                PCCERT_CONTEXT added = nullptr;
                good = good &&
                       CertAddCertificateContextToStore(store, test_certificate(name).get(),
                                                        CERT_STORE_ADD_REPLACE_EXISTING, &added);
                BYTE value[] = {static_cast<BYTE>(i)};
                const CRYPT_DATA_BLOB blob{1, value};
                good = good && CertSetCertificateContextProperty(added, 11, 0, &blob);
                CertFreeCertificateContext(added);
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    int last = 0;
    for (int i = 0; i < 50; ++i) {
        const int now = count(L"My");
        EXPECT_GE(now, last);
        last = now;
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    wait_for(L"My", 2);
    EXPECT_EQ(count(L"My"), 2);
    for (const auto& entry : fs::directory_iterator(folder_ / "user/My")) {
        EXPECT_THAT(entry.path().extension().string(), testing::AnyOf(".cer", ".properties"));
    }
}

} // namespace
