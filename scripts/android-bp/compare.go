// Compares Android.bp with what CMake builds and with TEST_MAPPING, so that a new source, program or
// test can't be forgotten in one of them: compare ANDROID_BP TARGETS, where TARGETS is the folder
// that host/TargetLists.cmake writes.
package main

import (
	"encoding/json"
	"fmt"
	"os"
	"path/filepath"
	"sort"
)

type set map[string]bool

func (s set) add(names ...string) {
	for _, name := range names {
		if name != "" {
			s[name] = true
		}
	}
}

func (s set) addAll(other set) {
	for name := range other {
		s.add(name)
	}
}

func (s set) minus(other set) []string {
	var rest []string
	for name := range s {
		if !other[name] {
			rest = append(rest, name)
		}
	}
	sort.Strings(rest)
	return rest
}

type unit struct{ sources, libraries set }

func newUnit() unit { return unit{set{}, set{}} }

func fail(err error) {
	if err != nil {
		fmt.Fprintln(os.Stderr, "compare:", err)
		os.Exit(2)
	}
}

func report(name, what, one, other string, inOne, inOther set) int {
	extra, missing := inOne.minus(inOther), inOther.minus(inOne)
	for _, each := range extra {
		fmt.Printf("%s: %s %s is in %s, not in %s\n", name, what, each, one, other)
	}
	for _, each := range missing {
		fmt.Printf("%s: %s %s is in %s, not in %s\n", name, what, each, other, one)
	}
	return len(extra) + len(missing)
}

func compare(modules map[string]module, targets map[string]target, name, target string) int {
	found, wanted := unitOf(modules, name), newUnit()
	wanted.sources.add(targets[target].sources...)
	link(modules, targets, targets[target].libraries, wanted.libraries)
	libraries := set{}
	for library := range found.libraries {
		libraries.add(moduleOf(modules, library))
	}
	if modules[name].isTest() { // which links it by itself
		libraries.add("libgtest")
		wanted.libraries.add("libgtest")
	}
	return report(name, "source", "Android.bp", "CMake", found.sources, wanted.sources) +
		report(name, "library", "Android.bp", "CMake", libraries, wanted.libraries)
}

// The tests that each of the two would run on the kind of machine that each of the two names.
func compareMapping(folder string, modules map[string]module) int {
	text, err := os.ReadFile(filepath.Join(folder, "TEST_MAPPING"))
	fail(err)
	var groups map[string][]struct {
		Name string
		Host bool
	}
	fail(json.Unmarshal(text, &groups))
	mapped, built := set{}, set{}
	for _, group := range groups {
		for _, test := range group {
			mapped.add(fmt.Sprintf("%s, host %t", test.Name, test.Host))
		}
	}
	for name, each := range modules {
		if each.isTest() {
			built.add(fmt.Sprintf("%s, host %t", name, each.kind == "cc_test_host"))
		}
	}
	return report("TEST_MAPPING", "test", "TEST_MAPPING", "Android.bp", mapped, built)
}

func main() {
	if len(os.Args) != 3 {
		fail(fmt.Errorf("usage: compare ANDROID_BP TARGETS"))
	}
	modules, targets, folder := readModules(os.Args[1]), readTargets(os.Args[2]), filepath.Dir(os.Args[1])
	differences, covered := compareMapping(folder, modules), set{"stallscope_aidl": true}
	for name, each := range modules {
		differences += missingFiles(folder, name, each)
		if !each.isCompared(name) {
			continue
		}
		target, isBuilt := targetOf(targets, name)
		if !isBuilt {
			fmt.Printf("%s: CMake builds no such thing\n", name)
			differences++
			continue
		}
		covered.add(target)
		differences += compare(modules, targets, name, target)
	}
	differences += uncovered(targets, covered)
	if differences > 0 {
		os.Exit(1)
	}
	fmt.Printf("%d modules have the sources and libraries of CMake's targets\n", len(covered))
}
