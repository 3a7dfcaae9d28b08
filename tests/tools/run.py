"""Runs the tests of one file: run.py NAME PROGRAM [EMULATOR...], with the NAME of NAME_test.py."""

import sys
import unittest

unittest.main(sys.argv.pop(1) + "_test", argv=sys.argv[:1])
