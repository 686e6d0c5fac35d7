package main

import (
	"fmt"
	"os"
	"path/filepath"
	"strings"
)

// Targets without a module, by pattern, and why a platform tree has none.
var withoutModule = map[string]string{
	"compare":        "the lines of a fuzzer, for builds that have none",
	"debuggerd_test": "tests the stand-in for the debugger daemon",
	"guest_*":        "need the guest and the hangs that are staged in it",
	"log_recorder":   "is preloaded into the daemon in the guest",
}

// What a library is called in a platform tree. An empty name stands for flags, or for what every
// program of the platform has.
var platformName = map[string]string{
	"daemon_options":                  "",
	"project_options":                 "",
	"stallscope_logging":              "",
	"Threads::Threads":                "",
	"GTest::gmock":                    "libgmock",
	"GTest::gmock_main":               "libgmock",
	"GTest::gtest":                    "libgtest",
	"GTest::gtest_main":               "libgtest",
	"JsonCpp::JsonCpp":                "libjsoncpp",
	"LibArchive::LibArchive":          "libarchive",
	"platform::base":                  "libbase",
	"platform::binder":                "libbinder",
	"platform::cutils":                "libcutils",
	"platform::debuggerd_client":      "libdebuggerd_client",
	"platform::jsoncpp":               "libjsoncpp",
	"platform::log":                   "liblog",
	"platform::utils":                 "libutils",
	"zevo-native-stallscope-aidl-cpp": "stallscope_aidl", // the platform's own, switched by a variable
}

type target struct{ sources, libraries []string }

func readTargets(folder string) map[string]target {
	files, err := filepath.Glob(filepath.Join(folder, "*"))
	fail(err)
	targets := map[string]target{}
	for _, file := range files {
		text, err := os.ReadFile(file)
		fail(err)
		halves := strings.SplitN(string(text), "--\n", 2)
		sources := strings.Fields(halves[0])
		for i, source := range sources {
			if strings.HasPrefix(source, "build/") { // generated
				sources[i] = filepath.Base(source)
			}
		}
		targets[filepath.Base(file)] = target{sources, strings.Fields(halves[1])}
	}
	return targets
}

// The target that a module is made of. Modules need names that no other of a whole tree has, and a
// fuzzer's sources are compiled by a target of their own.
func targetOf(targets map[string]target, module string) (string, bool) {
	short := strings.TrimPrefix(module, "stallscope_")
	for _, name := range []string{module, short, short + "_entry"} {
		if len(targets[name].sources) > 0 {
			return name, true
		}
	}
	return "", false
}

func moduleOf(modules map[string]module, name string) string {
	if module, isKnown := platformName[name]; isKnown {
		return module
	}
	if _, isThere := modules["stallscope_"+name]; isThere {
		return "stallscope_" + name
	}
	return name
}

// All that is linked in the end: Soong links no library of a static library by itself, so a module
// has to name it.
func link(modules map[string]module, targets map[string]target, names []string, into set) {
	for _, name := range names {
		module := moduleOf(modules, name)
		if !into[module] {
			into.add(module)
			link(modules, targets, targets[name].libraries, into)
		}
	}
}

// Counts the targets that Android.bp has forgotten, and the reasons that have no target any more.
func uncovered(targets map[string]target, covered set) int {
	forgotten, unused := 0, set{}
	for pattern := range withoutModule {
		unused.add(pattern)
	}
	for name, each := range targets {
		isExcused := false
		for pattern := range withoutModule {
			if matches, _ := filepath.Match(pattern, name); matches {
				isExcused = true
				delete(unused, pattern)
			}
		}
		if len(each.sources) > 0 && !covered[name] && !isExcused {
			fmt.Printf("%s: no module of Android.bp builds it\n", name)
			forgotten++
		}
	}
	for pattern := range unused {
		fmt.Printf("%s: excused from Android.bp, but CMake builds no such thing\n", pattern)
	}
	return forgotten + len(unused)
}
