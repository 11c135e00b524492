"""Without the right to open the device, the user is told what to do about it, and nothing else changes."""
import os

import driving
from driving import Capture

ALERT = ("alert You don't have permission to capture on this device. | Go to System Preferences > Users & Groups and "
         "make sure you are a member of the group 'access_bpf'. You will need to log out and then log back in after "
         "making any changes.")


class Rights(Capture):
    prefix = ("setpriv", "--bounding-set=-all", "--inh-caps=-all", "--ambient-caps=-all", "--no-new-privs",
              "--reuid=65534", "--regid=65534", "--clear-groups")

    def test_the_permission_alert_is_shown_with_its_texts(self):
        if os.geteuid() != 0:
            driving.skip("giving up rights needs rights: run as root")
        os.chmod(self.folder, 0o777)
        os.chmod(self.destination, 0o777)
        self.settings()
        os.chmod(self.folder / "config", 0o755)
        os.chmod(self.folder / "config" / "vantrel", 0o755)
        self.begin()
        self.assertEqual(self.session.ask("start"), ALERT)
        self.assertEqual(self.session.hear(), "failed")
        self.assertEqual([path for path in self.folder.glob("vantrel-65534/*")], [])
        self.session.tell("quit")
        _, errors = self.session.process.communicate()
        self.assertIn("pcap_activate() failed: ", errors)
        self.assertIn(f"pcap_open_activate() failed for device {self.device}: ", errors)


if __name__ == "__main__":
    driving.main()
