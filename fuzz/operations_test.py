"""The operations that the fuzzers call are the exported ones."""
import unittest
from pathlib import Path

from make_seeds import OPERATIONS, ROOT


class Operations(unittest.TestCase):
    def test_every_exported_function_is_called(self):
        lines = (ROOT / "tests" / "abi" / "exported_symbols.txt").read_text().splitlines()
        exported = [line.split()[1] for line in lines if line.startswith("function ")]
        self.assertEqual(sorted(OPERATIONS), sorted(exported))

    def test_steps_of_the_frames_fuzzer_name_the_operations_that_they_mean(self):
        source = (Path(__file__).parent / "frames_fuzzer.cpp").read_text()
        for constant, name in (
            ("kInstall", "std_omci_set_multicast_vlan_onu"),
            ("kInstallMld", "mld_onu_std_omci_set_multicast_vlan"),
            ("kWeb", "std_omci_web_set_vlan"),
            ("kByMode", "igmp_port_vlan_and_mode_set"),
            ("kOverride", "igmp_adapt_set_sig_vlan"),
            ("kSend", "send_pkt_igmp"),
        ):
            self.assertIn(f"{constant} = {OPERATIONS.index(name)}", source, name)


if __name__ == "__main__":
    unittest.main()
