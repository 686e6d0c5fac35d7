package main

import (
	"fmt"
	"os"
	"path/filepath"
	"strings"

	"github.com/google/blueprint/parser"
)

type module struct {
	kind       string
	properties []*parser.Property
}

func (m module) isTest() bool { return m.kind == "cc_test" || m.kind == "cc_test_host" }

// What a C++ target of CMake is held against; the interface's own is an .aidl file there.
func (m module) isCompared(name string) bool {
	return strings.HasPrefix(m.kind, "cc_") && m.kind != "cc_defaults" && name != "stallscope_aidl"
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
		if found, isModule := definition.(*parser.Module); isModule {
			names := set{}
			collect(found.Properties, "name", names)
			for name := range names {
				modules[name] = module{found.Type, found.Properties}
			}
		}
	}
	return modules
}

// The strings of every property of this name in a module, those of its variants included.
func collect(properties []*parser.Property, name string, into set) {
	for _, property := range properties {
		switch value := property.Value.Eval().(type) {
		case *parser.String:
			if property.Name == name {
				into.add(value.Value)
			}
		case *parser.List:
			for _, entry := range value.Values {
				if text, isText := entry.Eval().(*parser.String); isText && property.Name == name {
					into.add(text.Value)
				}
			}
		case *parser.Map:
			collect(value.Properties, name, into)
		}
	}
}

// What a module and its defaults name.
func unitOf(modules map[string]module, name string) unit {
	built := newUnit()
	properties := modules[name].properties
	collect(properties, "srcs", built.sources)
	for _, kind := range []string{"shared_libs", "static_libs", "whole_static_libs"} {
		collect(properties, kind, built.libraries)
	}
	generators, defaults := set{}, set{}
	collect(properties, "generated_sources", generators)
	for each := range generators {
		collect(modules[each].properties, "out", built.sources)
	}
	collect(properties, "defaults", defaults)
	for each := range defaults {
		inherited := unitOf(modules, each)
		built.sources.addAll(inherited.sources)
		built.libraries.addAll(inherited.libraries)
	}
	return built
}

// Counts the files that a module names and that are not there.
func missingFiles(folder, name string, each module) int {
	files, missing := set{}, 0
	for _, property := range []string{"srcs", "data", "corpus", "dictionary", "init_rc", "license_text", "tool_files"} {
		collect(each.properties, property, files)
	}
	for file := range files {
		found, err := filepath.Glob(filepath.Join(folder, file))
		fail(err)
		if len(found) == 0 {
			fmt.Printf("%s: there is no %s\n", name, file)
			missing++
		}
	}
	return missing
}
