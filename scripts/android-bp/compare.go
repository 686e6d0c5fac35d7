// Compares Android.bp with what CMake builds, so that a new source can't be forgotten in one of the
// two: compare ANDROID_BP TARGETS, where TARGETS is the folder that host/TargetLists.cmake writes.
package main

import (
	"fmt"
	"os"
	"path/filepath"
	"sort"
	"strings"

	"github.com/google/blueprint/parser"
)

// The targets whose sources a module compiles, where the name is not the same.
var targetsOf = map[string][]string{
	"stallscope_client": {"client"},
}

// What a target is in a platform tree. An empty name stands for flags, or for what every program of
// the platform has.
var moduleOf = map[string]string{
	"client":                          "stallscope_client",
	"daemon_options":                  "",
	"project_options":                 "",
	"Threads::Threads":                "",
	"platform::base":                  "libbase",
	"platform::binder":                "libbinder",
	"platform::cutils":                "libcutils",
	"platform::debuggerd_client":      "libdebuggerd_client",
	"platform::jsoncpp":               "libjsoncpp",
	"platform::log":                   "liblog",
	"platform::utils":                 "libutils",
	"stallscope_logging":              "",
	"zevo-native-stallscope-aidl-cpp": "stallscope_aidl", // the platform's own, switched by a variable
}

type set map[string]bool

func (s set) add(names ...string) {
	for _, name := range names {
		if name != "" {
			s[name] = true
		}
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

func rename(name string) string {
	if module, known := moduleOf[name]; known {
		return module
	}
	return name
}

// The strings of every list of this name in a module, those of its variants included.
func collect(properties []*parser.Property, name string, into set) {
	for _, property := range properties {
		switch value := property.Value.Eval().(type) {
		case *parser.List:
			for _, entry := range value.Values {
				if text, isText := entry.Eval().(*parser.String); isText && property.Name == name {
					into.add(rename(text.Value))
				}
			}
		case *parser.Map:
			collect(value.Properties, name, into)
		}
	}
}

type module struct {
	kind       string
	properties []*parser.Property
}

func readModules(path string) map[string]module {
	file, err := os.Open(path)
	fail(err)
	defer file.Close()
	tree, errs := parser.ParseAndEval(path, file, parser.NewScope(nil))
	for _, err := range errs {
		fail(err)
	}
	modules := map[string]module{}
	for _, definition := range tree.Defs {
		found, isModule := definition.(*parser.Module)
		if !isModule {
			continue
		}
		for _, property := range found.Properties {
			if name, isText := property.Value.Eval().(*parser.String); isText && property.Name == "name" {
				modules[name.Value] = module{found.Type, found.Properties}
			}
		}
	}
	return modules
}

// What a module and its defaults name.
func unitOf(modules map[string]module, name string) unit {
	built := newUnit()
	properties := modules[name].properties
	collect(properties, "srcs", built.sources)
	for _, kind := range []string{"shared_libs", "static_libs", "whole_static_libs"} {
		collect(properties, kind, built.libraries)
	}
	defaults := set{}
	collect(properties, "defaults", defaults)
	for each := range defaults {
		inherited := unitOf(modules, each)
		for source := range inherited.sources {
			built.sources.add(source)
		}
		for library := range inherited.libraries {
			built.libraries.add(library)
		}
	}
	return built
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
		targets[filepath.Base(file)] = target{strings.Fields(halves[0]), strings.Fields(halves[1])}
	}
	return targets
}

// All that is linked in the end: Soong links no library of a static library by itself, so a module
// has to name it.
func link(targets map[string]target, names []string, into set) {
	for _, name := range names {
		module := rename(name)
		if !into[module] {
			into.add(module)
			link(targets, targets[name].libraries, into)
		}
	}
}

func expected(targets map[string]target, name string) (unit, bool) {
	names, isRenamed := targetsOf[name]
	if !isRenamed {
		names = []string{name}
	}
	built := newUnit()
	for _, each := range names {
		if _, isThere := targets[each]; !isThere {
			return built, false
		}
		built.sources.add(targets[each].sources...)
		link(targets, targets[each].libraries, built.libraries)
	}
	for _, each := range names {
		delete(built.libraries, rename(each)) // compiled in, not linked
	}
	return built, true
}

func report(name, what string, inModule, inTarget set) int {
	extra, missing := inModule.minus(inTarget), inTarget.minus(inModule)
	for _, each := range extra {
		fmt.Printf("%s: %s %s is in Android.bp, not in CMake\n", name, what, each)
	}
	for _, each := range missing {
		fmt.Printf("%s: %s %s is in CMake, not in Android.bp\n", name, what, each)
	}
	return len(extra) + len(missing)
}

func main() {
	if len(os.Args) != 3 {
		fail(fmt.Errorf("usage: compare ANDROID_BP TARGETS"))
	}
	modules, targets := readModules(os.Args[1]), readTargets(os.Args[2])
	differences, compared := 0, 0
	for name, each := range modules {
		wanted, isBuilt := expected(targets, name)
		if !strings.HasPrefix(each.kind, "cc_") || each.kind == "cc_defaults" || name == "stallscope_aidl" {
			continue
		}
		if !isBuilt {
			fmt.Printf("%s: CMake builds no such thing\n", name)
			differences++
			continue
		}
		found := unitOf(modules, name)
		differences += report(name, "source", found.sources, wanted.sources)
		differences += report(name, "library", found.libraries, wanted.libraries)
		compared++
	}
	if differences > 0 || compared == 0 {
		os.Exit(1)
	}
	fmt.Printf("%d modules have the sources and libraries of CMake's targets\n", compared)
}
