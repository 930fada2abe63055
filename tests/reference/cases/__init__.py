"""What the golden files hold: inputs drawn from a pinned generator, outcomes of the plain model."""
